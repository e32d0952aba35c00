#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <vector>

#include "core/queue/EventLoop.h"
#include "platform/linux/webrtc/LoadedPeers.h"
#include "tests/support/network/AwayWorld.h"
#include "tests/support/peers/PeerSide.h"
#include "tests/support/peers/TransportPair.h"
#include "tests/support/programs/Eventually.h"

namespace tevanto::test {

/// Two transports on real engines, connected, with the line between their networks in the test's hands. Only
/// the relay between them is in memory.
class TransportsInTwoNetworks : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!AwayWorld::permitted()) GTEST_SKIP() << "networks of its own need root";
    world = std::make_unique<AwayWorld>();
    world->setRoute(true);
    room = std::make_shared<MemoryRelay>(work->makeQueue("relay"));
    computer = makeSide(world->home(), TransportRole::answerer);
    phone = makeSide(world->away(), TransportRole::offerer);
    listen();
    computer->transport->start({});
    phone->transport->start({});
    ASSERT_TRUE(eventually(
        [this] {
          return computer->heard->readies > 0 && phone->heard->readies > 0 && computer->heard->screenIsOpen &&
                 phone->heard->screenIsOpen;
        },
        std::chrono::minutes(1)));
  }
  /// Nothing calls back after this.
  void TearDown() override {
    for (const auto& side : {computer.get(), phone.get()}) {
      if (side) side->transport->stop();
    }
    mainQueue->sync([] {});
  }
  ~TransportsInTwoNetworks() override {
    for (const auto& loop : {mainLoop, work}) loop->stop();
  }

  /// Sets callbacks of the test's own, before the two start.
  virtual void listen() {}

  std::unique_ptr<TransportSide> makeSide(const NetworkNamespace& network, TransportRole role) {
    const auto peers = std::make_shared<LoadedPeers>(PeerEngineOptions());
    // The engine's threads are in the network in which they begin, with the first peer.
    network.enter([&] { keepers.push_back(PeerSide::make(*peers)); });
    return std::make_unique<TransportSide>(
        TransportGround{.main = mainQueue,
                        .relay = nullptr,
                        .makeStateQueue = [this] { return work->makeQueue("tevanto.webrtc.transport"); },
                        .peers = peers},
        role, room);
  }

  std::unique_ptr<AwayWorld> world;
  std::shared_ptr<EventLoop> mainLoop = EventLoop::background(1);
  std::shared_ptr<EventLoop> work = EventLoop::background(2);
  std::shared_ptr<SerialQueue> mainQueue = mainLoop->makeQueue("main");
  std::shared_ptr<MemoryRelay> room;
  std::vector<std::shared_ptr<PeerSide>> keepers;
  std::unique_ptr<TransportSide> computer;
  std::unique_ptr<TransportSide> phone;
};

}  // namespace tevanto::test
