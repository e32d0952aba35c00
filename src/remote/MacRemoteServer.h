#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "core/Published.h"
#include "core/UserDefaults.h"
#include "net/ServiceAdvertiser.h"
#include "net/TcpListener.h"
#include "remote/AwayRoad.h"
#include "remote/MessageChannel.h"

namespace tevanto {

class AccessibilityPermission;
class MacInputController;
class MacPowerManager;
class MacShortcutRunner;

/// The computer's end of the control channel: accepts one phone at a time (the newest wins), pairs it by the
/// six-digit code, knows it again by its token, checks the token of every command and hands it to the
/// dispatch. Lives on its own queue, "tevanto.remote.server"; the published values may be read anywhere.
class MacRemoteServer final : public std::enable_shared_from_this<MacRemoteServer> {
 public:
  static constexpr std::uint16_t kDefaultPort = 51637;

  /// What the server stands on. Everything outlives it.
  struct Environment {
    std::shared_ptr<SerialQueue> queue;
    std::shared_ptr<SerialQueue> mainQueue;
    std::shared_ptr<SerialQueue> shortcutQueue;    // may block
    std::shared_ptr<SerialQueue> backgroundQueue;  // may block: the list of applications
    TcpListenerFactory& listeners;
    ServiceAdvertiser& advertiser;
    UserDefaults& defaults;
    std::optional<std::string> computerName;
    std::uint16_t port = kDefaultPort;  // 0: any free one
  };
  /// Who carries the commands out.
  struct Actuators {
    std::shared_ptr<MacInputController> input;
    std::shared_ptr<MacShortcutRunner> shortcuts;
    AccessibilityPermission& permission;
  };

  static std::shared_ptr<MacRemoteServer> create(Environment environment, Actuators actuators);

  Published<std::string> pairingCode;
  Published<std::string> statusText;
  Published<bool> isClientConnected;
  Published<bool> isAccessibilityTrusted;
  /// The port it listens on; 0 until it does.
  Published<std::uint16_t> port;
  /// How far the service is visible on the local network.
  Published<AdvertisingStatus> advertising;

  /// Before `start`. Without a power manager keep-awake commands are answered with "power unavailable".
  void setPower(std::shared_ptr<MacPowerManager> power);
  void setAwayRoad(std::shared_ptr<AwayRoad> road);

  /// Starts the listener; again: nothing. May be called from any thread.
  void start();
  /// Ends the listener, the advertisement and the current channel. May be called twice, from any thread.
  void stop();
  /// Sends on the current channel, if there is one. May be called from any thread.
  void send(RemoteMessage message);
  /// Closes the current channel, if there is one.
  void disconnect();
  /// Asks the system for the permission to inject input, and publishes what came of it.
  void requestAccessibility();
};

}  // namespace tevanto
