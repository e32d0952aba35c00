#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <memory>

#include "core/queue/EventLoop.h"
#include "platform/linux/webrtc/LoadedPeers.h"
#include "tests/support/peers/TransportPair.h"
#include "tests/support/programs/Eventually.h"

namespace tevanto::test {

/// Ground for transports on the real engine, on the loopback interface.
class EngineGround : public ::testing::Test {
 protected:
  enum class Threads {
    several,  // transports and engine on threads of their own: nothing relies on another's order
    one,      // all on one loop, as in the programs
  };

  explicit EngineGround(Threads threads) : isOneLoop(threads == Threads::one) {}
  ~EngineGround() override {
    // What a pair has left the engine to do must not meet the libraries' cleanup at the exit.
    EXPECT_TRUE(rests());
    ground.peers.reset();
    for (const auto& loop : {mainLoop, work}) loop->stop();
  }

  PeerEngineOptions engineOptions() {
    PeerEngineOptions options;
    options.includeLoopback = true;
    if (isOneLoop) options.signalingQueue = mainLoop->makeQueue("peer-signaling");
    return options;
  }
  /// A busy machine takes its time.
  static constexpr auto kTimeout = std::chrono::minutes(2);

  /// Until what the state queues still do for transports that were let go of is done.
  bool rests() {
    return eventually([&] { return ground.peers.use_count() == 1; }, kTimeout);
  }
  /// A pair that is `fresh` says something in each direction.
  static void exchange(TransportPair& fresh) {
    fresh.phone.transport->send(pointerMotion());
    fresh.phone.transport->send(numbered(0));
    fresh.computer.transport->send(numbered(0));
    ASSERT_TRUE(eventually(
        [&] {
          return fresh.computer.heard->motions == 1 && fresh.computer.heard->numbered == 1 &&
                 fresh.phone.heard->numbered == 1;
        },
        kTimeout));
  }
  /// Connects, uses and disconnects so many pairs, all at the same time.
  void cycle(int pairsAtOnce = 1) {
    std::vector<std::unique_ptr<TransportPair>> pairs;
    for (int i = 0; i < pairsAtOnce; ++i) {
      pairs.push_back(std::make_unique<TransportPair>(ground));
      pairs.back()->start();
    }
    for (const auto& pair : pairs) ASSERT_TRUE(eventually([&] { return pair->isReady(); }, kTimeout));
    for (const auto& pair : pairs) ASSERT_NO_FATAL_FAILURE(exchange(*pair));
    for (const auto& pair : pairs) pair->stop();
    for (const auto& pair : pairs) {
      ASSERT_TRUE(eventually(
          [&] { return pair->computer.heard->failures + pair->phone.heard->failures == 2; }, kTimeout));
    }
  }

  const bool isOneLoop;
  std::shared_ptr<EventLoop> mainLoop = EventLoop::background(1);
  std::shared_ptr<EventLoop> work = EventLoop::background(2);
  TransportGround ground{
      .main = mainLoop->makeQueue("main"),
      .relay = work->makeQueue("relay"),
      .makeStateQueue = [loop = isOneLoop ? mainLoop
                                          : work] { return loop->makeQueue("tevanto.webrtc.transport"); },
      .peers = std::make_shared<LoadedPeers>(engineOptions())};
};

}  // namespace tevanto::test
