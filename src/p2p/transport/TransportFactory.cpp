#include "p2p/transport/TransportFactory.h"

#include <utility>

#include "core/queue/QueueBound.h"

namespace tevanto {

TransportFactory::Made TransportFactory::makeAnswerer(const std::string& room) {
  auto made = make(TransportRole::answerer, room, WebRTCTransport::Profile::plain, environment_.makeCloud());
  const auto wait = std::make_shared<Wait>();
  made.whenAged = [wait](std::function<void()> aged) { wait->aged = std::move(aged); };
  made.start = [self = shared_from_this(), weak = std::weak_ptr(made.transport), wait] {
    const auto begin = [self, weak, weakWait = std::weak_ptr(wait)](
                           WebRTCTransport& transport, std::vector<RemoteIceServerConfig> servers) {
      transport.start(std::move(servers));
      if (const auto waiting = weakWait.lock()) self->watchAge(waiting, weak);
    };
    self->environment_.iceServers->load(self->environment_.mainQueue, weakCall(weak, begin));
  };
  return made;
}

void TransportFactory::watchAge(const std::shared_ptr<Wait>& wait,
                                const std::weak_ptr<WebRTCTransport>& transport) {
  const auto freshFor = environment_.iceServers->freshFor();
  if (!freshFor) return;
  const auto onAged = [transport](Wait& waited) {
    const auto alive = transport.lock();
    // Once somebody has called, it connects or fails; a new one comes after either.
    if (!alive || alive->hasBeenOffered()) return;
    if (const auto aged = waited.aged) aged();
  };
  wait->timer = environment_.mainQueue->asyncAfter(*freshFor, weakCall(std::weak_ptr(wait), onAged));
}

TransportFactory::Made TransportFactory::makeOfferer(const std::string& room) {
  auto cloud = environment_.makeCloud();
  auto made = make(TransportRole::offerer, room, WebRTCTransport::Profile::phone, cloud);
  made.start = [self = shared_from_this(), offerer = Offerer{made.transport, cloud}] {
    auto known = self->environment_.iceServers->known();
    if (hasTURNServer(known)) return offerer.start(std::move(known));
    self->startWithLateServers(offerer);
  };
  return made;
}

void TransportFactory::startWithLateServers(const Offerer& offerer) {
  struct Start {
    bool done = false;
    Timer timeout;
  };
  const auto start = std::make_shared<Start>();
  start->timeout = environment_.mainQueue->asyncAfter(
      kTimeout, [weak = std::weak_ptr(start), offerer, servers = environment_.iceServers] {
        const auto waiting = weak.lock();
        if (waiting && !std::exchange(waiting->done, true)) offerer.start(servers->known());
      });
  environment_.iceServers->load(
      environment_.mainQueue, [start, offerer](std::vector<RemoteIceServerConfig> servers) {
        const bool isLate = std::exchange(start->done, true);
        const bool isEnough = hasTURNServer(servers);
        isLate ? offerer.upgrade(std::move(servers)) : offerer.start(std::move(servers));
        if (!isEnough) offerer.borrowServers();
      });
}

void TransportFactory::Offerer::start(std::vector<RemoteIceServerConfig> servers) const {
  if (const auto alive = transport.lock()) alive->start(std::move(servers));
}

void TransportFactory::Offerer::upgrade(std::vector<RemoteIceServerConfig> servers) const {
  if (const auto alive = transport.lock()) alive->upgradeIceServers(std::move(servers));
}

void TransportFactory::Offerer::borrowServers() const {
  const auto records = cloud.lock();
  if (!records) return;
  records->loadTURN([offerer = *this](std::optional<BrokeredIceServers> lent) {
    if (lent) offerer.upgrade(std::move(lent->servers));
  });
}

TransportFactory::Made TransportFactory::make(TransportRole role, const std::string& room,
                                              WebRTCTransport::Profile profile,
                                              std::shared_ptr<CloudSignaling> cloud) {
  WebRTCTransport::Environment environment{.stateQueue = environment_.makeQueue("tevanto.webrtc.transport"),
                                           .mainQueue = environment_.mainQueue,
                                           .peers = environment_.peers,
                                           .relay = environment_.makeRelay(),
                                           .cloud = std::move(cloud),
                                           .rememberIceServers = environment_.rememberIceServers,
                                           .log = environment_.log};
  return {WebRTCTransport::create(environment, role, room, profile), {}};
}

}  // namespace tevanto
