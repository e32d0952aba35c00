// Two transports as the programs have them, on the real engine and the loopback interface; only the relay
// between them is in memory.

#include <gtest/gtest.h>

#include <chrono>
#include <thread>
#include <vector>

#include "tests/platform/linux/webrtc/EngineGround.h"
#include "tests/support/peers/ScreenBytes.h"
#include "tests/support/programs/ProcessMemory.h"

namespace tevanto {
namespace {

using namespace test;

class TransportOnLibwebrtc : public EngineGround, public testing::WithParamInterface<bool> {
 protected:
  TransportOnLibwebrtc() : EngineGround(GetParam() ? Threads::one : Threads::several) {}
};

INSTANTIATE_TEST_SUITE_P(OnThreads, TransportOnLibwebrtc, testing::Bool(),
                         [](const auto& isOneLoop) { return isOneLoop.param ? "one" : "several"; });

TEST_P(TransportOnLibwebrtc, carriesMessagesMotionAndTheScreen) {
  TransportPair pair(ground);
  std::atomic<int> routes = 0;
  pair.phone.transport->onRelayRouteChanged = [&](bool) { ++routes; };
  pair.start();
  ASSERT_TRUE(eventually([&] { return pair.isReady(); }, kTimeout));
  exchange(pair);

  // In chunks on the way there.
  auto large = numbered(1);
  large.deviceName = std::string(200'000, 'x');
  pair.computer.transport->send(large);
  pair.computer.transport->send(numbered(2));
  ASSERT_TRUE(eventually([&] { return pair.phone.heard->numbered == 3; }, kTimeout));
  EXPECT_TRUE(pair.phone.heard->inOrder);

  const auto frame = pattern(300'000);
  ASSERT_TRUE(pair.computer.transport->sendScreenPayload(bytesOf("parameter sets")));
  ASSERT_TRUE(pair.computer.transport->sendScreenFrame(frame, true));
  EXPECT_TRUE(eventually([&] { return pair.phone.heard->screenBytes == frame.size() + 14; }, kTimeout));
  EXPECT_EQ(routes, 0);  // direct all the time
  EXPECT_EQ(pair.phone.heard->others, 0);
  pair.stop();
  ground.main->sync([] {});
}

TEST_P(TransportOnLibwebrtc, aPhoneThatComesBackIsMetByAFreshPeer) {
  TransportPair pair(ground);
  pair.start();
  ASSERT_TRUE(eventually([&] { return pair.isReady(); }, kTimeout));
  // It is gone without a word, as a phone that loses its network; its next run makes a new offer.
  TransportSide again(ground, TransportRole::offerer, pair.room);
  again.transport->start({});
  ASSERT_TRUE(
      eventually([&] { return again.heard->readies == 1 && pair.computer.heard->readies == 2; }, kTimeout));
  again.transport->send(numbered(0));
  EXPECT_TRUE(eventually([&] { return pair.computer.heard->numbered == 1; }, kTimeout));
  pair.stop();
  again.transport->stop();
}

TEST_P(TransportOnLibwebrtc, aFirstMotionComesBehindTheNewsThatTheChannelIsReady) {
  for (int round = 0; round < 10; ++round) {
    TransportPair pair(ground);
    // As soon as it can: the other side may not have met the control channel yet.
    pair.phone.transport->onChannelState = [&pair](ChannelState state) {
      if (state == ChannelState::ready) pair.phone.transport->send(pointerMotion());
    };
    pair.start();
    ASSERT_TRUE(eventually([&] { return pair.computer.heard->motions == 1; }, kTimeout)) << pair;
    EXPECT_TRUE(pair.computer.heard->inOrder);
    pair.stop();
    ground.main->sync([] {});
  }
}

TEST_P(TransportOnLibwebrtc, theOtherSidesEndIsAFailureAtOnce) {
  TransportPair pair(ground);
  pair.start();
  ASSERT_TRUE(eventually([&] { return pair.isReady(); }, kTimeout));
  pair.phone.transport.reset();
  EXPECT_TRUE(eventually([&] { return pair.computer.heard->failures == 1; }, kTimeout));
  EXPECT_TRUE(eventually([&] { return !pair.computer.heard->screenIsOpen; }, kTimeout));
  pair.computer.transport->stop();
}

TEST_P(TransportOnLibwebrtc, comingAndGoingLeavesNoThreadAndNoDescriptor) {
  cycle();
  ASSERT_TRUE(rests());
  const auto threads = threadCount();
  const auto descriptors = openDescriptors();
  for (int round = 0; round < 50 && !HasFatalFailure(); ++round) cycle();
  ASSERT_TRUE(rests());
  EXPECT_TRUE(
      eventually([&] { return threadCount() <= threads && openDescriptors() <= descriptors; }, kTimeout))
      << threadCount() - threads << " threads, " << openDescriptors() - descriptors << " descriptors";
}

TEST_P(TransportOnLibwebrtc, aHundredStopAtOnce) {
  std::vector<std::unique_ptr<TransportPair>> pairs;
  for (int batch = 0; batch < 5; ++batch) {
    // Ten at a time, or on a busy machine the engine gives up some whose checks take too long.
    for (int i = 0; i < 10; ++i) {
      pairs.push_back(std::make_unique<TransportPair>(ground));
      pairs.back()->start();
    }
    for (const auto& pair : pairs)
      ASSERT_TRUE(eventually([&] { return pair->isReady(); }, kTimeout)) << *pair;
  }
  std::vector<std::thread> stoppers;
  for (std::size_t first = 0; first < 4; ++first) {
    stoppers.emplace_back([&, first] {
      for (std::size_t i = first; i < pairs.size(); i += 4) pairs[i]->stop();
    });
  }
  for (auto& stopper : stoppers) stopper.join();
  for (const auto& pair : pairs) {
    EXPECT_TRUE(eventually([&] { return pair->computer.heard->failures + pair->phone.heard->failures == 2; },
                           kTimeout));
  }
  pairs.clear();
  EXPECT_TRUE(rests());
}

}  // namespace
}  // namespace tevanto
