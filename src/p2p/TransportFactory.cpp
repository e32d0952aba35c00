#include "p2p/TransportFactory.h"

#include <utility>

namespace tevanto {

TransportFactory::Made TransportFactory::makeAnswerer(const std::string& room) {
  auto made = make(TransportRole::answerer, room, WebRTCTransport::Profile::plain, environment_.makeCloud());
  made.start = [self = shared_from_this(), weak = std::weak_ptr(made.transport)] {
    self->environment_.iceServers->load(self->environment_.mainQueue,
                                        [weak](std::vector<RemoteIceServerConfig> servers) {
                                          if (const auto transport = weak.lock())
                                            transport->start(std::move(servers));
                                        });
  };
  return made;
}

TransportFactory::Made TransportFactory::makeOfferer(const std::string& room) {
  const auto cloud = environment_.makeCloud();
  auto made = make(TransportRole::offerer, room, WebRTCTransport::Profile::phone, cloud);
  made.start = [self = shared_from_this(), weak = std::weak_ptr(made.transport),
                lender = std::weak_ptr(cloud)] {
    const auto transport = weak.lock();
    if (!transport) return;
    auto known = self->environment_.iceServers->known();
    const bool isEnough = hasTURNServer(known);
    transport->start(std::move(known));
    if (isEnough) return;
    self->environment_.iceServers->load(self->environment_.mainQueue,
                                        [weak, lender](std::vector<RemoteIceServerConfig> servers) {
                                          const auto waiting = weak.lock();
                                          if (!waiting) return;
                                          if (hasTURNServer(servers))
                                            return waiting->upgradeIceServers(std::move(servers));
                                          const auto records = lender.lock();
                                          if (!records) return;
                                          records->loadTURN([weak](std::optional<BrokeredIceServers> lent) {
                                            const auto borrower = weak.lock();
                                            if (borrower && lent)
                                              borrower->upgradeIceServers(std::move(lent->servers));
                                          });
                                        });
  };
  return made;
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
