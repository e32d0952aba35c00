#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "core/Log.h"
#include "core/queue/Published.h"
#include "core/queue/QueueBound.h"
#include "core/settings/UserDefaults.h"
#include "net/discovery/ServiceAdvertiser.h"
#include "net/tcp/TcpListener.h"
#include "remote/AwayAccess.h"
#include "remote/CommandDispatch.h"
#include "remote/access/AccessPolicy.h"
#include "remote/message/MessageChannel.h"

namespace tevanto {

class AwayServer;

/// MacRemoteServer is the computer's end of the control channel. It serves one phone at a time, on the local
/// network or away from it; the newest one replaces the one before. Pairing, tokens and sessions:
/// docs/protocol.md, section 6. The access policy decides what each phone may do, and the dispatch carries
/// out its commands.
///
/// Lives on its own queue, "tevanto.remote.server". The published values may be read on any thread.
class MacRemoteServer final : public QueueBound<MacRemoteServer> {
 public:
  static constexpr std::uint16_t kDefaultPort = 51637;
  static constexpr std::string_view kServiceType = "_tevanto-remote._tcp";

  /// Environment holds the server's dependencies. Everything that it refers to outlives the server.
  struct Environment {
    std::shared_ptr<SerialQueue> queue;
    std::shared_ptr<SerialQueue> mainQueue;
    std::shared_ptr<SerialQueue> shortcutQueue;    // may block
    std::shared_ptr<SerialQueue> backgroundQueue;  // may block: the list of applications
    TcpListenerFactory& listeners;
    ServiceAdvertiser& advertiser;
    UserDefaults& defaults;
    std::shared_ptr<AccessPolicy> access;
    std::optional<std::string> computerName;
    std::uint16_t port = kDefaultPort;  // 0: any free one
    Logger log = {};
  };
  using Actuators = CommandDispatch::Actuators;

  static std::shared_ptr<MacRemoteServer> create(Environment environment, Actuators actuators);
  ~MacRemoteServer();

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
  /// Before `start`. Without it a phone away from the local network finds nobody.
  void setAwayAccess(AwayAccess access);
  /// Before `start`: receives the transports that carry the screen of a phone away. It is not kept alive.
  void setScreen(std::weak_ptr<ScreenTransportHost> screen);

  /// Starts the listener; again: nothing. May be called from any thread.
  void start();
  /// Ends the listener, the advertisement, the access from away and the current channel. May be called twice,
  /// from any thread.
  void stop();
  /// Sends on the current channel, if there is one. May be called from any thread.
  void send(RemoteMessage message);
  /// Closes the current channel, if there is one. May be called from any thread.
  void disconnect();
  /// Asks the system for the permission to inject input, and publishes what came of it.
  void requestAccessibility();

 private:
  MacRemoteServer(Environment environment, Actuators actuators);
  void makeDispatch(Actuators actuators);

  void startNow();
  void stopNow();
  void advertise();
  void listenerChanged(ListenerState state);
  void accept(std::unique_ptr<TcpConnection> connection);
  void connectionChanged(const MessageChannel* channel, ConnectionState state);
  void channelReady();
  void closeChannel();
  void reply(const RemoteMessage& message);

  void handle(RemoteMessage message);
  void handleHello(const RemoteMessage& message);
  void handlePairRequest(const RemoteMessage& message);
  void handleCommand(RemoteMessage message);
  void enterConnectedState();
  void completePairing();
  void permissionChecked(bool trusted);
  void permissionReturned();

  void publishInvite();
  void awayChannelChanged(const std::shared_ptr<MessageChannel>& channel, ChannelState state);
  void awayChannelReady(const std::shared_ptr<MessageChannel>& channel);
  void awayChannelEnded();

  const Environment environment_;
  AccessibilityPermission& permission_;
  std::shared_ptr<CommandDispatch> dispatch_;
  std::unique_ptr<AwayServer> away_;
  std::unique_ptr<TcpListener> listener_;  // from the start until its end was reported
  std::shared_ptr<MessageChannel> channel_;
  bool channelIsAway_ = false;  // the current channel is the answerer's
  ServiceAdvertiser::Registration registration_;
  std::string deviceID_;
  bool running_ = false;
  bool trusted_;  // the result of the last check of the permission
};

}  // namespace tevanto
