#pragma once

#include <atomic>
#include <memory>
#include <ostream>
#include <string>

#include "p2p/transport/WebRTCTransport.h"
#include "tests/support/fakes/FakeCloudSignaling.h"
#include "tests/support/fakes/MemoryRelay.h"

namespace tevanto::test {

/// The queues and peers that many transports share, as the transports of one program do.
struct TransportGround {
  std::shared_ptr<SerialQueue> main;
  std::shared_ptr<SerialQueue> relay;
  std::function<std::shared_ptr<SerialQueue>()> makeStateQueue;
  std::shared_ptr<PeerConnectionFactory> peers;
};

/// One side, with what it has heard.
struct TransportSide {
  TransportSide(const TransportGround& ground, TransportRole role, const std::shared_ptr<MemoryRelay>& room)
      : transport(WebRTCTransport::create({.stateQueue = ground.makeStateQueue(),
                                           .mainQueue = ground.main,
                                           .peers = ground.peers,
                                           .relay = room->makeMember(),
                                           .cloud = std::make_shared<FakeCloudSignaling>(),
                                           .rememberIceServers = {}},
                                          role, "ROOM", WebRTCTransport::Profile::phone)) {
    transport->onChannelState = [heard = heard](ChannelState state) {
      (state == ChannelState::ready ? heard->readies : heard->others) += 1;
      if (state == ChannelState::failed) ++heard->failures;
    };
    transport->onScreenChannelState = [heard = heard](bool isOpen) { heard->screenIsOpen = isOpen; };
    transport->onMessage = [heard = heard](const RemoteMessage& message) {
      if (heard->readies == 0) heard->inOrder = false;
      // Numbered by its sender, so that a gap or a swap shows.
      if (message.message && *message.message != std::to_string(heard->numbered++)) heard->inOrder = false;
      if (message.command) ++heard->motions;
    };
    transport->onScreenData = [heard = heard](std::span<const std::byte> data) {
      heard->screenBytes += data.size();
    };
  }

  struct Heard {
    std::atomic<int> readies = 0;
    std::atomic<int> others = 0;
    std::atomic<int> failures = 0;
    std::atomic<bool> screenIsOpen = false;
    std::atomic<int> numbered = 0;
    std::atomic<int> motions = 0;
    std::atomic<bool> inOrder = true;
    std::atomic<std::size_t> screenBytes = 0;
  };
  std::shared_ptr<Heard> heard = std::make_shared<Heard>();
  std::shared_ptr<WebRTCTransport> transport;
};

/// A phone and a computer in a room of their own.
struct TransportPair {
  explicit TransportPair(const TransportGround& ground)
      : room(std::make_shared<MemoryRelay>(ground.relay)),
        computer(ground, TransportRole::answerer, room),
        phone(ground, TransportRole::offerer, room) {}

  void start() {
    computer.transport->start({});
    phone.transport->start({});
  }
  void stop() {
    computer.transport->stop();
    phone.transport->stop();
  }
  bool isReady() const {
    return computer.heard->readies > 0 && phone.heard->readies > 0 && computer.heard->screenIsOpen &&
           phone.heard->screenIsOpen;
  }

  std::shared_ptr<MemoryRelay> room;
  TransportSide computer;
  TransportSide phone;
};

inline std::ostream& operator<<(std::ostream& out, const TransportPair& pair) {
  for (const auto& side : {&pair.computer, &pair.phone}) {
    out << (side == &pair.computer ? "computer: " : ", phone: ") << side->heard->readies << " ready, "
        << side->heard->others << " other reports, " << side->heard->failures << " failures, screen "
        << (side->heard->screenIsOpen ? "open" : "closed");
  }
  return out;
}

inline RemoteMessage numbered(int number) { return {.type = "ack", .message = std::to_string(number)}; }
inline RemoteMessage pointerMotion() {
  return {.type = "command", .command = RemoteCommand{.type = "movePointer", .dx = 1, .dy = 1}};
}

}  // namespace tevanto::test
