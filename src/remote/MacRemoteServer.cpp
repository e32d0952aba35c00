#include "remote/MacRemoteServer.h"

#include <utility>

#include "control/AccessibilityPermission.h"
#include "core/settings/DeviceIdentity.h"
#include "core/text/Text.h"
#include "core/text/Uuid.h"
#include "remote/AwayServer.h"
#include "remote/LineProtocolConnection.h"
#include "remote/PairingCode.h"
#include "remote/ServerMessages.h"
#include "remote/ServerStatus.h"

namespace tevanto {

std::shared_ptr<MacRemoteServer> MacRemoteServer::create(Environment environment, Actuators actuators) {
  // A name that cannot be encoded would cost the phone every message that carries it.
  if (environment.computerName) environment.computerName = wellFormedUtf8(*environment.computerName);
  std::shared_ptr<MacRemoteServer> server(new MacRemoteServer(std::move(environment), actuators));
  server->makeDispatch(std::move(actuators));
  server->setAwayAccess({});
  return server;
}

MacRemoteServer::MacRemoteServer(Environment environment, Actuators actuators)
    : QueueBound(environment.queue),
      pairingCode(environment.mainQueue, randomPairingCode()),
      statusText(environment.mainQueue, status::kStarting),
      isClientConnected(environment.mainQueue, false),
      isAccessibilityTrusted(environment.mainQueue, actuators.permission.isTrusted()),
      port(environment.mainQueue, 0),
      advertising(environment.mainQueue, AdvertisingStatus{}),
      environment_(std::move(environment)),
      permission_(actuators.permission),
      trusted_(isAccessibilityTrusted.get()) {}

MacRemoteServer::~MacRemoteServer() = default;

void MacRemoteServer::makeDispatch(Actuators actuators) {
  dispatch_ = std::make_shared<CommandDispatch>(
      CommandDispatch::Queues{queue(), environment_.mainQueue, environment_.shortcutQueue,
                              environment_.backgroundQueue},
      std::move(actuators), weakCall(&MacRemoteServer::reply));
}

void MacRemoteServer::setPower(std::shared_ptr<MacPowerManager> power) {
  dispatch_->setPower(std::move(power));
}

// The callbacks of the answerer come on the main queue; what they mean for the phone is decided on the
// server's queue, like everything else.
void MacRemoteServer::setAwayAccess(AwayAccess access) {
  AnswererKeeper::Callbacks callbacks;
  callbacks.onChannelState = weakPost(&MacRemoteServer::awayChannelChanged);
  callbacks.onMessage = weakPost([](MacRemoteServer& self, RemoteMessage message) {
    if (self.running_) self.handle(std::move(message));
  });
  away_ = std::make_unique<AwayServer>(environment_.mainQueue, std::move(access), std::move(callbacks));
}

void MacRemoteServer::setScreen(std::weak_ptr<ScreenTransportHost> screen) {
  away_->setScreen(std::move(screen));
}

void MacRemoteServer::start() { post(&MacRemoteServer::startNow); }

void MacRemoteServer::stop() { post(&MacRemoteServer::stopNow); }

void MacRemoteServer::send(RemoteMessage message) {
  post([message = std::move(message)](MacRemoteServer& self) { self.reply(message); });
}

void MacRemoteServer::disconnect() { post(&MacRemoteServer::closeChannel); }

void MacRemoteServer::requestAccessibility() {
  environment_.mainQueue->async(weakCall([](MacRemoteServer& self) {
    self.permission_.request();
    self.post([](MacRemoteServer& server) { server.permissionChecked(server.permission_.isTrusted()); });
  }));
}

void MacRemoteServer::startNow() {
  assertOnQueue();
  if (listener_) return;
  auto made = environment_.listeners.listen(environment_.port);
  if (!made) {
    environment_.log.error(made.error());
    return statusText.set(status::kCannotStart);
  }
  listener_ = std::move(made).value();
  running_ = true;
  deviceID_ = deviceIdentifier(environment_.defaults);
  port.set(listener_->port());
  advertise();
  listener_->setConnectionHandler(weakCall(&MacRemoteServer::accept));
  listener_->setStateHandler(weakCall(&MacRemoteServer::listenerChanged));
  listener_->start(queue());
  away_->start(deviceID_);
  publishInvite();
}

void MacRemoteServer::stopNow() {
  assertOnQueue();
  if (!std::exchange(running_, false)) return;
  registration_.reset();
  advertising.set({});
  port.set(0);
  away_->stop();
  if (channelIsAway_) awayChannelEnded();
  if (channel_) channel_->close();
  listener_->cancel();
}

void MacRemoteServer::advertise() {
  ServiceDescription service;
  service.name = advertisedName(environment_.computerName);
  service.type = kServiceType;
  service.port = listener_->port();
  service.txt = {{"id", deviceID_}, {"kind", std::string(kDeviceKind)}};
  registration_ = environment_.advertiser.advertise(
      service, weakPost([](MacRemoteServer& self, const AdvertisingStatus& status) {
        if (self.running_) self.advertising.set(status);
      }));
}

void MacRemoteServer::publishInvite() {
  away_->publish({pairingCode.get(), deviceID_, advertisedName(environment_.computerName)});
}

void MacRemoteServer::listenerChanged(ListenerState state) {
  assertOnQueue();
  switch (state) {
    case ListenerState::ready:
      return statusText.set(status::kWaiting);
    case ListenerState::cancelled:
      statusText.set(status::kStopped);
      return listener_.reset();
    case ListenerState::failed:
      environment_.log.error("The listener of the control channel has failed. Restart the companion.");
      registration_.reset();
      return statusText.set(status::kFailed);
    default:
      return;
  }
}

void MacRemoteServer::accept(std::unique_ptr<TcpConnection> connection) {
  assertOnQueue();
  if (!running_) return;
  closeChannel();
  auto line = std::make_shared<LineProtocolConnection>(std::move(connection),
                                                       environment_.access->maximumLineBytes());
  channel_ = line;
  channelIsAway_ = false;
  line->onMessage = weakCall(&MacRemoteServer::handle);
  line->onStateChange = weakCall([channel = line.get()](MacRemoteServer& self, ConnectionState state) {
    self.connectionChanged(channel, state);
  });
  dispatch_->forgetApps();
  line->start(queue());
}

// Deliberately does not ask whether the connection is still the current one, except for releasing it: the
// cancellation of a replaced connection comes through here too, and the newer connection's own `ready` comes
// after it and sets the state again. But one that a phone away has replaced ends after that phone's `ready`.
void MacRemoteServer::connectionChanged(const MessageChannel* channel, ConnectionState state) {
  if (state != ConnectionState::ready && state != ConnectionState::failed &&
      state != ConnectionState::cancelled)
    return;
  if (channelIsAway_) return;
  if (state == ConnectionState::ready) return channelReady();
  if (channel == channel_.get()) channel_.reset();
  isClientConnected.set(false);
  if (!running_) return;
  statusText.set(status::kWaiting);
  away_->start(deviceID_);
}

void MacRemoteServer::awayChannelChanged(const std::shared_ptr<MessageChannel>& channel, ChannelState state) {
  assertOnQueue();
  if (!running_) return;
  if (state == ChannelState::ready) return awayChannelReady(channel);
  if (channel_ != channel) return;
  if (state == ChannelState::interrupted) {
    isClientConnected.set(false);
    return statusText.set(status::kReconnecting);
  }
  awayChannelEnded();
  statusText.set(status::kWaiting);
}

void MacRemoteServer::awayChannelReady(const std::shared_ptr<MessageChannel>& channel) {
  // It may have recovered just when its place was taken.
  if (away_->hasDropped(channel)) return;
  if (channel_ != channel) {
    closeChannel();
    channel_ = channel;
    channelIsAway_ = true;
    dispatch_->forgetApps();
  }
  channelReady();
}

void MacRemoteServer::awayChannelEnded() {
  channel_.reset();
  channelIsAway_ = false;
  isClientConnected.set(false);
}

void MacRemoteServer::channelReady() {
  isClientConnected.set(true);
  const bool paired = !environment_.defaults.stringEquals(kPairingTokenKey, std::nullopt);
  statusText.set(paired ? status::kAuthenticating : status::kPair);
}

// The channel of a phone away is the answerer's, which another one replaces.
void MacRemoteServer::closeChannel() {
  assertOnQueue();
  if (!channel_) return;
  if (channelIsAway_) return away_->close(channel_);
  channel_->close();
}

void MacRemoteServer::reply(const RemoteMessage& message) {
  if (channel_) channel_->send(message);
}

void MacRemoteServer::handle(RemoteMessage message) {
  assertOnQueue();
  if (message.type == "command") return handleCommand(std::move(message));
  if (message.type == "sessionHello") return handleHello(message);
  if (message.type == "pairRequest") return handlePairRequest(message);
}

void MacRemoteServer::handleHello(const RemoteMessage& message) {
  if (!environment_.access->allowsSession(message.token)) {
    auto rejected = rejection("sessionRejected", "unauthorized");
    rejected.protocolVersion = kProtocolVersion;
    rejected.sessionNonce = message.sessionNonce;
    return reply(rejected);
  }
  if (message.sessionNonce) {
    auto ready = introduction("sessionReady", environment_.computerName, deviceID_);
    ready.sessionNonce = message.sessionNonce;
    reply(ready);
  }
  enterConnectedState();
}

void MacRemoteServer::handlePairRequest(const RemoteMessage& message) {
  if (!environment_.access->allowsPairing(message.code, pairingCode.get()))
    return reply(rejection("pairRejected", "wrong code"));
  auto accepted = introduction("pairAccepted", environment_.computerName, deviceID_);
  accepted.token = randomUuid();
  // A token that the phone hears of must survive this process: it is stored first.
  if (const auto stored = environment_.defaults.set(kPairingTokenKey, *accepted.token); !stored) {
    environment_.log.error("The pairing could not be stored: " + stored.error());
    return reply(rejection("pairRejected", "pairing could not be stored"));
  }
  reply(accepted);
  enterConnectedState();
  completePairing();
}

void MacRemoteServer::handleCommand(RemoteMessage message) {
  if (!environment_.access->allowsCommand(message.token)) {
    auto refused = rejection("ack", "unauthorized");
    refused.ok = false;
    return reply(refused);
  }
  if (!message.command) return;
  const auto outcome = dispatch_->dispatch(std::move(*message.command));
  if (!outcome) return;
  permissionChecked(outcome->trusted);
  reply(outcome->reply);
}

void MacRemoteServer::enterConnectedState() {
  isClientConnected.set(true);
  statusText.set(status::kConnected);
  auto capabilities = makeMessage("capabilities");
  capabilities.protocolVersion = kProtocolVersion;
  capabilities.capabilities = capabilityList();
  reply(capabilities);
  dispatch_->sendSystemState();
}

// The code changes at once, so that two requests in one read cannot both use it. The invite follows once the
// main queue has shown the pairing.
void MacRemoteServer::completePairing() {
  const auto used = pairingCode.get();
  pairingCode.set(randomPairingCode());
  environment_.mainQueue->async(weakCall([used](MacRemoteServer& self) {
    self.statusText.set(status::kPaired);
    self.post([used](MacRemoteServer& server) {
      if (!server.running_) return;
      server.away_->withdraw(used);
      server.publishInvite();
    });
  }));
}

void MacRemoteServer::permissionChecked(bool trusted) {
  assertOnQueue();
  if (trusted && trusted_) return;
  trusted_ = trusted;
  environment_.mainQueue->async(weakCall([trusted](MacRemoteServer& self) {
    self.isAccessibilityTrusted.set(trusted);
    if (!trusted) return self.statusText.set(status::kAccessibilityRequired);
    self.post(&MacRemoteServer::permissionReturned);
  }));
}

// The status text asked for the permission; without this it would ask until the phone connects anew.
void MacRemoteServer::permissionReturned() {
  if (!running_ || statusText.get() != status::kAccessibilityRequired) return;
  statusText.set(isClientConnected.get() ? status::kConnected : status::kWaiting);
}

}  // namespace tevanto
