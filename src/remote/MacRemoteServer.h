#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "core/Log.h"
#include "core/queue/Published.h"
#include "core/settings/UserDefaults.h"
#include "net/discovery/ServiceAdvertiser.h"
#include "net/tcp/TcpListener.h"
#include "remote/AwayAccess.h"
#include "remote/CommandDispatch.h"
#include "remote/message/MessageChannel.h"

namespace tevanto {

class AnswererKeeper;
class PairingInvitePublisher;

/// The computer's end of the control channel: accepts one phone at a time, by the local network or by the
/// away road (the newest wins), pairs it by the six-digit code, knows it again by its token, checks the token
/// of every command and hands it to the dispatch. Lives on its own queue, "tevanto.remote.server"; the
/// published values may be read anywhere.
class MacRemoteServer final : public std::enable_shared_from_this<MacRemoteServer> {
 public:
  static constexpr std::uint16_t kDefaultPort = 51637;
  static constexpr std::string_view kServiceType = "_tevanto-remote._tcp";

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
    Logger log = {};
  };
  /// Who carries the commands out.
  using Actuators = CommandDispatch::Actuators;

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
  /// Before `start`. Without it a phone away from the local network finds nobody.
  void setAwayAccess(AwayAccess road);
  /// Before `start`: who carries the screen over the away road. It is not kept alive.
  void setScreen(std::weak_ptr<ScreenTransportHost> screen);

  /// Starts the listener; again: nothing. May be called from any thread.
  void start();
  /// Ends the listener, the advertisement, the away road and the current channel. May be called twice, from
  /// any thread.
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
  /// Runs `work(MacRemoteServer&)` on the server's queue if the server still lives then.
  template <class Work>
  void onQueue(Work work);
  /// Runs `work` with the answerer's keeper or the invite's publisher, which live on the main queue.
  template <class Work>
  void withAnswerer(Work work);
  template <class Work>
  void withInvite(Work work);

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

  void startAnswerer();
  void publishInvite();
  void withdrawInvite(const std::string& code);
  void stopAwayAccess();
  void awayChannelChanged(const std::shared_ptr<MessageChannel>& channel, ChannelState state);
  void awayChannelReady(const std::shared_ptr<MessageChannel>& channel);
  void awayChannelEnded();
  void dropAwayChannel();

  const Environment environment_;
  AccessibilityPermission& permission_;
  std::shared_ptr<CommandDispatch> dispatch_;
  std::shared_ptr<AnswererKeeper> answerer_;
  std::shared_ptr<PairingInvitePublisher> invite_;
  std::unique_ptr<TcpListener> listener_;  // from the start until its end was reported
  std::shared_ptr<MessageChannel> channel_;
  bool channelIsAway_ = false;  // the current channel is the answerer's
  std::weak_ptr<MessageChannel> droppedChannel_;
  ServiceAdvertiser::Registration registration_;
  std::string deviceID_;
  bool running_ = false;
  bool trusted_;  // what the last check of the permission found
};

}  // namespace tevanto
