// Transports on real threads, with an engine whose callbacks come on a thread of its own. Run under
// ThreadSanitizer too.

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "core/queue/EventLoop.h"
#include "tests/support/peers/ScreenBytes.h"
#include "tests/support/peers/ThreadedPeers.h"
#include "tests/support/peers/TransportPair.h"
#include "tests/support/programs/Eventually.h"

namespace tevanto {
namespace {

using namespace test;

class WebRTCTransportThreads : public ::testing::Test {
 protected:
  ~WebRTCTransportThreads() override {
    // Nothing of a transport outlives it but work that is under way.
    EXPECT_TRUE(eventually([&] { return peers->alive == 0; })) << peers->alive << " peers";
    for (const auto& loop : {mainLoop, work, engineLoop}) loop->stop();
  }

  std::shared_ptr<EventLoop> mainLoop = EventLoop::background(1);
  std::shared_ptr<EventLoop> work = EventLoop::background(2);
  std::shared_ptr<EventLoop> engineLoop = EventLoop::background(1);
  std::shared_ptr<ThreadedPeers> peers = std::make_shared<ThreadedPeers>(engineLoop->makeQueue("engine"));
  TransportGround ground{.main = mainLoop->makeQueue("main"),
                         .relay = work->makeQueue("relay"),
                         .makeStateQueue = [this] { return work->makeQueue("tevanto.webrtc.transport"); },
                         .peers = peers};
};

TEST_F(WebRTCTransportThreads, everyMessageArrivesInOrderWhileTheScreenIsSent) {
  TransportPair pair(ground);
  pair.start();
  ASSERT_TRUE(eventually([&] { return pair.isReady(); }));
  constexpr int kMessages = 500;
  const auto frame = pattern(20'000);
  std::vector<std::thread> senders;
  senders.emplace_back([&] {
    for (int i = 0; i < kMessages; ++i) pair.phone.transport->send(numbered(i));
  });
  senders.emplace_back([&] {
    for (int i = 0; i < kMessages; ++i) pair.phone.transport->send(pointerMotion());
  });
  senders.emplace_back([&] {
    for (int i = 0; i < kMessages; ++i) pair.computer.transport->send(numbered(i));
  });
  senders.emplace_back([&] {
    for (int i = 0; i < kMessages; ++i) pair.computer.transport->sendScreenFrame(frame, i % 30 == 0);
  });
  for (auto& sender : senders) sender.join();
  const auto& computer = *pair.computer.heard;
  const auto& phone = *pair.phone.heard;
  EXPECT_TRUE(eventually([&] {
    return computer.numbered == kMessages && computer.motions == kMessages && phone.numbered == kMessages &&
           phone.screenBytes == kMessages * frame.size();
  }));
  EXPECT_TRUE(computer.inOrder);
  EXPECT_TRUE(phone.inOrder);
  pair.stop();
}

TEST_F(WebRTCTransportThreads, messagesSentAtTheOpeningArriveAfterTheReady) {
  for (int round = 0; round < 100; ++round) {
    TransportPair pair(ground);
    std::atomic<bool> early = false;
    const auto heard = pair.computer.heard;
    pair.computer.transport->onMessage = [heard, &early](const RemoteMessage&) {
      if (heard->readies == 0) early = true;
      ++heard->motions;
    };
    pair.phone.transport->onChannelState = [heard = pair.phone.heard,
                                            phone = std::weak_ptr(pair.phone.transport)](ChannelState state) {
      if (const auto alive = phone.lock(); alive && state == ChannelState::ready) alive->send(numbered(0));
      ++heard->readies;
    };
    pair.start();
    ASSERT_TRUE(eventually([&] { return heard->motions > 0; }));
    EXPECT_FALSE(early);
    pair.stop();
    ground.main->sync([] {});
  }
}

TEST_F(WebRTCTransportThreads, aTransportMayBeStoppedOrLetGoOfWhileItIsBusy) {
  for (int round = 0; round < 300; ++round) {
    auto pair = std::make_unique<TransportPair>(ground);
    const bool connects = round % 3 == 2;
    std::thread starter([&, transport = pair->phone.transport] {
      pair->start();
      for (int i = 0; i < 20; ++i) transport->send(pointerMotion());
      // An answer to the first offer that crosses with the second connects nobody.
      if (connects) return;
      transport->upgradeIceServers({{.urlStrings = {"turn:late.test"}, .username = {}, .credential = {}}});
    });
    // A different moment each round: before the start, in mid-negotiation, when it is ready.
    EXPECT_TRUE(!connects || eventually([&] { return pair->computer.heard->readies > 0; }));
    // Counted, not yielded: on a busy machine each yield costs a turn of somebody else's.
    for (std::atomic<int> spin = 0; spin < round * 300;) ++spin;
    if (round % 2 == 0) pair->phone.transport->stop();
    pair->computer.transport->stop();
    starter.join();
    pair.reset();
  }
}

TEST_F(WebRTCTransportThreads, nothingIsHeardAfterAStopOnTheMainQueue) {
  for (int round = 0; round < 100; ++round) {
    TransportPair pair(ground);
    std::atomic<bool> stopped = false;
    std::atomic<bool> late = false;
    pair.computer.transport->onMessage = [&](const RemoteMessage&) { late = late || stopped; };
    pair.start();
    ASSERT_TRUE(eventually([&] { return pair.isReady(); }));
    std::thread sender([&] {
      for (int i = 0; i < 50; ++i) pair.phone.transport->send(numbered(i));
    });
    ground.main->sync([&] {
      pair.computer.transport->stop();
      stopped = true;
    });
    sender.join();
    EXPECT_TRUE(eventually([&] { return pair.computer.heard->failures == 1; }));
    EXPECT_TRUE(eventually([&] { return pair.phone.heard->failures == 1; }));  // its channel was closed
    EXPECT_FALSE(late);
    pair.stop();
    // Callbacks refer to this frame.
    pair.computer.transport.reset();
    ground.main->sync([] {});
  }
}

TEST_F(WebRTCTransportThreads, aHundredStopAtOnce) {
  std::vector<std::unique_ptr<TransportPair>> pairs;
  for (int i = 0; i < 50; ++i) {
    pairs.push_back(std::make_unique<TransportPair>(ground));
    pairs.back()->start();
  }
  for (const auto& pair : pairs) ASSERT_TRUE(eventually([&] { return pair->isReady(); }));
  EXPECT_EQ(peers->alive, 100);
  std::vector<std::thread> stoppers;
  for (std::size_t first = 0; first < 4; ++first) {
    stoppers.emplace_back([&, first] {
      for (std::size_t i = first; i < pairs.size(); i += 4) pairs[i]->stop();
    });
  }
  for (auto& stopper : stoppers) stopper.join();
  EXPECT_TRUE(eventually([&] { return peers->alive == 0; }));
}

}  // namespace
}  // namespace tevanto
