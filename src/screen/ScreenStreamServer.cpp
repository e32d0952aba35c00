#include "screen/ScreenStreamServer.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "core/settings/DeviceIdentity.h"
#include "screen/CaptureGeneration.h"
#include "screen/ScreenCaptureSession.h"
#include "screen/wire/FramedConnection.h"
#include "screen/wire/ScreenStreamHello.h"
#include "screen/wire/ScreenStreamMessage.h"

namespace tevanto {
namespace {

using namespace std::chrono_literals;

constexpr auto kHelloTimeout = 5s;
// The most that may be on its way to the phone when a frame is added, in bytes.
constexpr std::int64_t kKeyframeBudget = 3'145'728;
constexpr std::int64_t kDeltaFrameBudget = 524'288;

bool same(const std::weak_ptr<void>& a, const std::weak_ptr<void>& b) {
  return !a.owner_before(b) && !b.owner_before(a);
}

ScreenRoute routeOver(std::weak_ptr<FramedConnection> weak) {
  ScreenRoute route;
  route.sendParameterSets = [weak](SharedBytes message) {
    const auto connection = weak.lock();
    return connection && connection->send(std::move(message), 0, true);
  };
  route.sendFrame = [weak](SharedBytes message, bool isKeyframe) {
    const auto connection = weak.lock();
    const auto budget = isKeyframe ? kKeyframeBudget : kDeltaFrameBudget;
    return connection && connection->send(std::move(message), budget, false);
  };
  route.takesKeyframe = [weak](std::size_t bytes) {
    const auto connection = weak.lock();
    constexpr auto kMost = static_cast<std::size_t>(kKeyframeBudget) - FrameExtractor::kHeaderBytes;
    return connection && connection->wouldSend(std::min(bytes, kMost), kKeyframeBudget);
  };
  return route;
}

ScreenRoute routeOver(std::weak_ptr<ScreenTransport> weak) {
  ScreenRoute route;
  route.sendParameterSets = [weak](const SharedBytes& message) {
    const auto transport = weak.lock();
    return transport && transport->sendScreenPayload(*message);
  };
  route.sendFrame = [weak](const SharedBytes& message, bool isKeyframe) {
    const auto transport = weak.lock();
    return transport && transport->sendScreenFrame(*message, isKeyframe);
  };
  route.takesKeyframe = [weak](std::size_t bytes) {
    const auto transport = weak.lock();
    return transport && transport->takesKeyFrame(std::min<std::size_t>(bytes, kKeyframeBudget));
  };
  return route;
}

}  // namespace

std::shared_ptr<ScreenStreamServer> ScreenStreamServer::create(Environment environment, Machinery machinery) {
  return std::shared_ptr<ScreenStreamServer>(new ScreenStreamServer(std::move(environment), machinery));
}

ScreenStreamServer::ScreenStreamServer(Environment environment, Machinery machinery)
    : QueueBound(environment.queue),
      isStreaming(environment.mainQueue, false),
      statusText(environment.mainQueue, ""),
      isScreenRecordingTrusted(environment.mainQueue, machinery.permission.isGranted()),
      port(environment.mainQueue, 0),
      advertising(environment.mainQueue, {}),
      environment_(std::move(environment)),
      machinery_(machinery),
      captureGeneration_(std::make_shared<CaptureGeneration>()) {}

ScreenStreamServer::~ScreenStreamServer() = default;

void ScreenStreamServer::refreshScreenRecordingTrust() {
  isScreenRecordingTrusted.set(machinery_.permission.isGranted());
}

void ScreenStreamServer::requestScreenRecording() {
  machinery_.permission.request();
  refreshScreenRecordingTrust();
}

void ScreenStreamServer::start() {
  queue()->async([self = shared_from_this()] { self->startListener(); });
}

void ScreenStreamServer::startListener() {
  assertOnQueue();
  if (listener_) return;
  stopped_ = false;
  auto made = environment_.listeners.listen(environment_.port);
  if (!made) return statusText.set("Screen server failed");
  listener_ = std::move(made).value();
  listener_->setStateHandler([](ListenerState) {});
  listener_->setConnectionHandler(weakCall(&ScreenStreamServer::accept));
  listener_->start(queue());
  port.set(listener_->port());
  advertise();
}

void ScreenStreamServer::advertise() {
  const ServiceDescription service{advertisedName(environment_.computerName),
                                   "_tevanto-video._tcp",
                                   listener_->port(),
                                   {{"id", deviceIdentifier(environment_.defaults)}}};
  advertisement_ = environment_.advertiser.advertise(
      service, weakCall([](ScreenStreamServer& self, const AdvertisingStatus& status) {
        self.advertising.set(status);
      }));
}

void ScreenStreamServer::stop() {
  queue()->async([self = shared_from_this()] { self->stopEverything(); });
}

void ScreenStreamServer::stopEverything() {
  assertOnQueue();
  stopped_ = true;
  if (listener_) listener_->cancel();
  listener_.reset();
  advertisement_.reset();
  helloTimer_.cancel();
  endSessionOf(captureOwner_);
  for (auto* held : {&candidateConnection_, &connection_}) {
    if (const auto ending = std::exchange(*held, nullptr)) ending->cancel();
  }
  port.set(0);
}

void ScreenStreamServer::accept(std::unique_ptr<TcpConnection> connection) {
  if (const auto replaced = std::exchange(candidateConnection_, nullptr)) replaced->cancel();
  const auto framed = std::make_shared<FramedConnection>(std::move(connection));
  candidateConnection_ = framed;
  const std::weak_ptr weak = framed;
  framed->onStateChange = weakCall([weak](ScreenStreamServer& self, ConnectionState state) {
    const bool isEnd = state == ConnectionState::failed || state == ConnectionState::cancelled;
    if (const auto sender = weak.lock(); sender && isEnd) self.connectionEnded(sender);
  });
  framed->onData = weakCall([weak](ScreenStreamServer& self, std::span<const std::byte> message) {
    if (const auto sender = weak.lock()) self.handleMessage({sender, nullptr}, message);
  });
  framed->start(queue());
  helloTimer_ = queue()->asyncAfter(kHelloTimeout, weakCall([weak](ScreenStreamServer& self) {
                                      if (const auto late = weak.lock()) self.helloOverdue(late);
                                    }));
}

void ScreenStreamServer::helloOverdue(const std::shared_ptr<FramedConnection>& late) {
  assertOnQueue();
  if (candidateConnection_ != late) return;
  candidateConnection_.reset();
  late->cancel();
}

void ScreenStreamServer::connectionEnded(const std::shared_ptr<FramedConnection>& ended) {
  if (candidateConnection_ == ended) candidateConnection_.reset();
  if (connection_ == ended) connection_.reset();
  endSessionOf(ended);
}

void ScreenStreamServer::attach(const std::shared_ptr<ScreenTransport>& transport) {
  if (!same(attachedTransport_, transport)) {
    if (const auto former = attachedTransport_.lock()) {
      former->onScreenData = nullptr;
      former->onScreenChannelState = nullptr;
    }
    // Nobody will hear of its end any more, so nobody else would end its session.
    queue()->async([self = shared_from_this(), former = attachedTransport_] { self->endSessionOf(former); });
  }
  attachedTransport_ = transport;
  if (transport) listenTo(transport);
}

void ScreenStreamServer::detach(const std::shared_ptr<ScreenTransport>& transport) {
  if (transport && same(attachedTransport_, transport)) attach(nullptr);
}

void ScreenStreamServer::listenTo(const std::shared_ptr<ScreenTransport>& transport) {
  const std::weak_ptr<ScreenTransport> weak = transport;
  transport->onScreenData = weakCall([weak](ScreenStreamServer& self, std::span<const std::byte> message) {
    self.post([weak, bytes = std::vector(message.begin(), message.end())](ScreenStreamServer& server) {
      const auto sender = weak.lock();
      if (sender && !server.stopped_) server.handleMessage({nullptr, sender}, bytes);
    });
  });
  transport->onScreenChannelState = weakCall([weak](ScreenStreamServer& self, bool isOpen) {
    // The transport may be gone by the time that the queue comes to this.
    if (!isOpen) self.post([weak](ScreenStreamServer& server) { server.endSessionOf(weak); });
  });
}

void ScreenStreamServer::handleMessage(const Sender& sender, std::span<const std::byte> message) {
  const auto type = screenMessageType(message);
  if (!type) return;
  switch (*type) {
    case ScreenMessageType::stop:
      return endSessionOf(sender.identity());
    case ScreenMessageType::keyframeRequest:
      if (!session_ || !same(captureOwner_, sender.identity())) return;
      session_->requestKeyframe();
      return session_->requestRefresh();
    case ScreenMessageType::hello:
      return handleHello(sender, message.subspan(1));
    case ScreenMessageType::parameterSets:
    case ScreenMessageType::videoFrame:
      return;
  }
}

void ScreenStreamServer::handleHello(const Sender& sender, std::span<const std::byte> body) {
  const auto hello = decodeHello(body);
  if (!hello) return;
  if (!environment_.mayWatch(hello->token)) {
    statusText.set("Rejected an unpaired iPhone");
    if (sender.connection) sender.connection->cancel();
    return;
  }
  if (!sender.connection) return startSession(sender.transport, kLowProfile, routeOver(sender.transport));
  promote(sender.connection);
  startSession(sender.connection, hello->prefersLowBandwidth ? kLowProfile : kFullProfile,
               routeOver(sender.connection));
}

void ScreenStreamServer::promote(const std::shared_ptr<FramedConnection>& sender) {
  if (candidateConnection_ != sender) return;
  helloTimer_.cancel();
  candidateConnection_.reset();
  if (const auto former = std::exchange(connection_, sender)) former->cancel();
}

void ScreenStreamServer::startSession(const std::shared_ptr<void>& owner, const StreamProfile& profile,
                                      ScreenRoute route) {
  if (session_ && same(captureOwner_, owner)) return session_->requestKeyframe();
  stopSession();
  captureOwner_ = owner;
  const auto generation = captureGeneration_->renew();
  statusText.set("Sharing screen…");
  session_ = std::make_unique<ScreenCaptureSession>(machinery_.displays, machinery_.encoders,
                                                    environment_.captureQueue, profile);
  session_->start(std::move(route), handlersFor(generation));
}

ScreenCaptureSession::Handlers ScreenStreamServer::handlersFor(const std::string& generation) {
  ScreenCaptureSession::Handlers handlers;
  handlers.isCurrent = [current = std::weak_ptr(captureGeneration_), generation] {
    const auto alive = current.lock();
    return alive && alive->isCurrent(generation);
  };
  handlers.onStarted = weakPost([generation](ScreenStreamServer& self) {
    if (!self.captureGeneration_->isCurrent(generation)) return;
    self.isStreaming.set(true);
    self.statusText.set("Mirroring to iPhone");
  });
  handlers.onError = weakPost([generation](ScreenStreamServer& self, const std::string& message) {
    if (!self.captureGeneration_->isCurrent(generation)) return;
    self.stopSession();
    self.statusText.set(message);
  });
  return handlers;
}

void ScreenStreamServer::endSessionOf(const std::weak_ptr<void>& owner) {
  if (!session_ || !same(captureOwner_, owner)) return;
  stopSession();
  statusText.set("");
}

void ScreenStreamServer::stopSession() {
  captureGeneration_->renew();
  captureOwner_.reset();
  if (const auto ending = std::exchange(session_, nullptr)) ending->stop();
  isStreaming.set(false);
}

}  // namespace tevanto
