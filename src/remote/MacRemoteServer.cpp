#include "remote/MacRemoteServer.h"

#include <utility>

#include "control/AccessibilityPermission.h"
#include "core/settings/DeviceIdentity.h"
#include "core/text/Text.h"
#include "core/text/Uuid.h"
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
    : pairingCode(environment.mainQueue, randomPairingCode()),
      statusText(environment.mainQueue, status::kStarting),
      isClientConnected(environment.mainQueue, false),
      isAccessibilityTrusted(environment.mainQueue, actuators.permission.isTrusted()),
      port(environment.mainQueue, 0),
      advertising(environment.mainQueue, AdvertisingStatus{}),
      environment_(std::move(environment)),
      permission_(actuators.permission),
      trusted_(isAccessibilityTrusted.get()) {}

void MacRemoteServer::makeDispatch(Actuators actuators) {
  const std::weak_ptr<MacRemoteServer> weak = weak_from_this();
  CommandDispatch::Callbacks callbacks;
  callbacks.reply = [weak](const RemoteMessage& message) {
    if (const auto self = weak.lock()) self->reply(message);
  };
  callbacks.permissionChecked = [weak](bool trusted) {
    if (const auto self = weak.lock()) self->permissionChecked(trusted);
  };
  dispatch_ = std::make_shared<CommandDispatch>(
      CommandDispatch::Queues{environment_.queue, environment_.mainQueue, environment_.shortcutQueue,
                              environment_.backgroundQueue},
      std::move(actuators), std::move(callbacks));
}

template <class Work>
void MacRemoteServer::onQueue(Work work) {
  weakly(shared_from_this(), environment_.queue, std::move(work))();
}

void MacRemoteServer::setPower(std::shared_ptr<MacPowerManager> power) {
  dispatch_->setPower(std::move(power));
}

void MacRemoteServer::start() {
  onQueue([](MacRemoteServer& self) { self.startNow(); });
}

void MacRemoteServer::stop() {
  onQueue([](MacRemoteServer& self) { self.stopNow(); });
}

void MacRemoteServer::send(RemoteMessage message) {
  onQueue([message = std::move(message)](MacRemoteServer& self) { self.reply(message); });
}

void MacRemoteServer::disconnect() {
  onQueue([](MacRemoteServer& self) { self.closeChannel(); });
}

void MacRemoteServer::requestAccessibility() {
  environment_.mainQueue->async([weak = weak_from_this()] {
    const auto self = weak.lock();
    if (!self) return;
    self->permission_.request();
    self->onQueue([](MacRemoteServer& server) { server.permissionChecked(server.permission_.isTrusted()); });
  });
}

void MacRemoteServer::startNow() {
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
  listener_->setConnectionHandler([weak = weak_from_this()](std::unique_ptr<TcpConnection> connection) {
    if (const auto self = weak.lock()) self->accept(std::move(connection));
  });
  listener_->setStateHandler([weak = weak_from_this()](ListenerState state) {
    if (const auto self = weak.lock()) self->listenerChanged(state);
  });
  listener_->start(environment_.queue);
  startAnswerer();
  publishInvite();
}

void MacRemoteServer::stopNow() {
  if (!std::exchange(running_, false)) return;
  registration_.reset();
  advertising.set({});
  port.set(0);
  stopAwayAccess();
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
      service, weakly(shared_from_this(), environment_.queue,
                      [](MacRemoteServer& self, const AdvertisingStatus& status) {
                        if (self.running_) self.advertising.set(status);
                      }));
}

void MacRemoteServer::listenerChanged(ListenerState state) {
  switch (state) {
    case ListenerState::ready:
      return statusText.set(status::kWaiting);
    case ListenerState::cancelled:
      statusText.set(status::kStopped);
      return listener_.reset();
    case ListenerState::failed:
      environment_.log.error("the listener of the control channel has failed");
      registration_.reset();
      return statusText.set(status::kFailed);
    default:
      return;
  }
}

void MacRemoteServer::accept(std::unique_ptr<TcpConnection> connection) {
  if (!running_) return;
  closeChannel();
  auto line = std::make_shared<LineProtocolConnection>(std::move(connection));
  channel_ = line;
  channelIsAway_ = false;
  line->onMessage = [weak = weak_from_this()](RemoteMessage message) {
    if (const auto self = weak.lock()) self->handle(std::move(message));
  };
  line->onStateChange = [weak = weak_from_this(), channel = line.get()](ConnectionState state) {
    if (const auto self = weak.lock()) self->connectionChanged(channel, state);
  };
  dispatch_->forgetApps();
  line->start(environment_.queue);
}

// Deliberately does not ask whether the connection is still the current one, except for letting go of it: the
// cancellation of a replaced connection comes through here too, and the newer connection's own `ready` comes
// after it and sets the state again. But one that the away road has replaced ends after that road's `ready`.
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
  startAnswerer();
}

void MacRemoteServer::channelReady() {
  isClientConnected.set(true);
  const bool paired = !environment_.defaults.stringEquals(kPairingTokenKey, std::nullopt);
  statusText.set(paired ? status::kAuthenticating : status::kPair);
}

// The away road's channel is the answerer's, of which another takes the place.
void MacRemoteServer::closeChannel() {
  if (!channel_) return;
  if (channelIsAway_) return dropAwayChannel();
  channel_->close();
}

void MacRemoteServer::reply(const RemoteMessage& message) {
  if (channel_) channel_->send(message);
}

void MacRemoteServer::handle(RemoteMessage message) {
  if (message.type == "command") return handleCommand(std::move(message));
  if (message.type == "sessionHello") return handleHello(message);
  if (message.type == "pairRequest") return handlePairRequest(message);
}

void MacRemoteServer::handleHello(const RemoteMessage& message) {
  // Here an absent token never passes, not even before the first pairing.
  if (!message.token || !environment_.defaults.stringEquals(kPairingTokenKey, message.token)) {
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
  if (message.code != pairingCode.get()) return reply(rejection("pairRejected", "wrong code"));
  auto accepted = introduction("pairAccepted", environment_.computerName, deviceID_);
  accepted.token = randomUuid();
  // A token that the phone hears of must survive this process: it is stored first.
  if (const auto stored = environment_.defaults.set(kPairingTokenKey, *accepted.token); !stored) {
    environment_.log.error("the pairing could not be stored: " + stored.error());
    return reply(rejection("pairRejected", "pairing could not be stored"));
  }
  reply(accepted);
  enterConnectedState();
  completePairing();
}

void MacRemoteServer::handleCommand(RemoteMessage message) {
  if (!environment_.defaults.stringEquals(kPairingTokenKey, message.token)) {
    auto refused = rejection("ack", "unauthorized");
    refused.ok = false;
    return reply(refused);
  }
  if (message.command) dispatch_->dispatch(std::move(*message.command));
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

// The code changes at once, so that two requests in one read cannot both use it; the rest of the world hears
// of the pairing once the main queue has shown it.
void MacRemoteServer::completePairing() {
  const auto used = pairingCode.get();
  pairingCode.set(randomPairingCode());
  environment_.mainQueue->async([weak = weak_from_this(), used] {
    const auto self = weak.lock();
    if (!self) return;
    self->statusText.set(status::kPaired);
    self->onQueue([used](MacRemoteServer& server) {
      if (!server.running_) return;
      server.withdrawInvite(used);
      server.publishInvite();
    });
  });
}

void MacRemoteServer::permissionChecked(bool trusted) {
  if (trusted && trusted_) return;
  trusted_ = trusted;
  environment_.mainQueue->async([weak = weak_from_this(), trusted] {
    const auto self = weak.lock();
    if (!self) return;
    self->isAccessibilityTrusted.set(trusted);
    if (!trusted) return self->statusText.set(status::kAccessibilityRequired);
    self->onQueue([](MacRemoteServer& server) { server.permissionReturned(); });
  });
}

// What the status text asked for has been done: it would go on asking until the phone connects anew.
void MacRemoteServer::permissionReturned() {
  if (!running_ || statusText.get() != status::kAccessibilityRequired) return;
  statusText.set(isClientConnected.get() ? status::kConnected : status::kWaiting);
}

}  // namespace tevanto
