#include "screen/wire/FramedConnection.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "tests/support/fakes/FakeTcpConnection.h"
#include "tests/support/fakes/ManualQueue.h"
#include "tests/support/peers/ScreenBytes.h"

namespace tevanto {
namespace {

using test::Bytes;
using test::bytesOf;
using test::frameText;
using test::pattern;
using test::textOf;

class FramedConnectionTest : public ::testing::Test {
 protected:
  FramedConnectionTest() {
    connection_->onData = [this](auto payload) { frames_.push_back(textOf(payload)); };
    connection_->onStateChange = [this](ConnectionState state) { states_.push_back(state); };
  }

  ~FramedConnectionTest() override {
    // The connection ends on its queue; what is left there would keep both alive.
    connection_.reset();
    queue_->runPending();
  }

  void start() {
    connection_->start(queue_);
    queue_->runPending();
  }
  void peerSends(std::string_view bytes) {
    peer_->send(bytes);
    queue_->runPending();
  }
  bool send(const Bytes& payload, std::int64_t budget = 524'288, bool force = false) {
    return connection_->send(std::make_shared<Bytes>(payload), budget, force);
  }

  std::shared_ptr<test::ManualQueue> queue_ = std::make_shared<test::ManualQueue>("tevanto.screen.server");
  std::shared_ptr<test::FakeTcpPeer> peer_ = std::make_shared<test::FakeTcpPeer>();
  std::shared_ptr<FramedConnection> connection_ =
      std::make_shared<FramedConnection>(std::make_unique<test::FakeTcpConnection>(peer_));
  std::vector<std::string> frames_;
  std::vector<ConnectionState> states_;
};

TEST_F(FramedConnectionTest, aHeaderThatArrivesInTwoReadsIsPutTogether) {
  start();
  peerSends(std::string_view("\0\0", 2));
  EXPECT_TRUE(frames_.empty());
  peerSends(std::string_view("\0\3abc", 5));
  EXPECT_EQ(frames_, std::vector<std::string>{"abc"});
}

TEST_F(FramedConnectionTest, severalFramesOfOneReadAllArriveInOrder) {
  start();
  peerSends(frameText(bytesOf("a")) + frameText({}) + frameText(bytesOf("b")));
  EXPECT_EQ(frames_, (std::vector<std::string>{"a", "", "b"}));
  peerSends(frameText(bytesOf("c")));
  EXPECT_EQ(frames_.back(), "c");
}

TEST_F(FramedConnectionTest, allFramesOfOneReadComeBeforeTheNextReceive) {
  std::vector<bool> wereReceivesOpen;
  connection_->onData = [&](auto) { wereReceivesOpen.push_back(peer_->isReceiving()); };
  start();
  EXPECT_TRUE(peer_->isReceiving());
  peerSends(frameText(bytesOf("a")) + frameText(bytesOf("b")) + frameText(bytesOf("c")));
  EXPECT_EQ(wereReceivesOpen, (std::vector{false, false, false}));
  EXPECT_TRUE(peer_->isReceiving());
}

TEST_F(FramedConnectionTest, anOversizedFrameCancelsInSilence) {
  start();
  peerSends(std::string_view("\x00\x80\x00\x00", 4));
  EXPECT_FALSE(peer_->isEnded());
  peerSends(std::string(8'388'608, 'x'));
  ASSERT_EQ(frames_.size(), 1u);
  EXPECT_EQ(frames_[0].size(), 8'388'608u);
  peerSends(std::string_view("\x00\x80\x00\x01", 4));
  EXPECT_TRUE(peer_->isEnded());
  EXPECT_EQ(states_.back(), ConnectionState::cancelled);
  EXPECT_TRUE(peer_->received.empty());
  EXPECT_EQ(frames_.size(), 1u);
}

TEST_F(FramedConnectionTest, largeFramesAreReceivedWhereTheyWillLie) {
  start();
  peerSends(frameText(bytesOf("small")));
  EXPECT_EQ(peer_->timesRoomWasGiven, 0);
  const auto large = pattern(1'000'000);
  peerSends(frameText(large) + frameText(bytesOf("behind")) + frameText(large));
  ASSERT_EQ(frames_.size(), 4u);
  EXPECT_TRUE(frames_[1] == textOf(large));
  EXPECT_EQ(frames_[2], "behind");
  EXPECT_TRUE(frames_[3] == textOf(large));
  // A million bytes come in at least 16 receives, of which the first one brings the header.
  EXPECT_GE(peer_->timesRoomWasGiven, 2 * 14);
}

TEST_F(FramedConnectionTest, theEndOfTheStreamCancels) {
  start();
  peer_->endStream();
  queue_->runPending();
  EXPECT_TRUE(peer_->isEnded());
  EXPECT_EQ(states_.back(), ConnectionState::cancelled);
}

TEST_F(FramedConnectionTest, everyStateIsPassedOn) {
  start();
  EXPECT_EQ(states_, (std::vector{ConnectionState::preparing, ConnectionState::ready}));
  peer_->fail();
  queue_->runPending();
  EXPECT_EQ(states_.back(), ConnectionState::failed);
}

TEST_F(FramedConnectionTest, framesWithoutAHandlerAreDropped) {
  connection_->onData = nullptr;
  start();
  peerSends(frameText(bytesOf("a")));
  EXPECT_FALSE(peer_->isEnded());
}

TEST_F(FramedConnectionTest, nothingArrivesOnceTheHandlerHasCancelled) {
  connection_->onData = [this](auto payload) {
    frames_.push_back(textOf(payload));
    connection_->cancel();
  };
  start();
  peerSends(frameText(bytesOf("a")) + frameText(bytesOf("b")));
  EXPECT_EQ(frames_, std::vector<std::string>{"a"});
  EXPECT_EQ(states_.back(), ConnectionState::cancelled);
}

TEST_F(FramedConnectionTest, aHandlerMayLetGoOfTheConnection) {
  connection_->onData = [this](auto) {
    frames_.emplace_back("first");
    connection_.reset();
  };
  start();
  peerSends(frameText(bytesOf("a")));
  EXPECT_EQ(frames_, std::vector<std::string>{"first"});
  queue_->runPending();
  EXPECT_TRUE(peer_->isReleased());
}

TEST_F(FramedConnectionTest, sentFramesCarryTheirLength) {
  start();
  EXPECT_TRUE(send(bytesOf("hello")));
  EXPECT_TRUE(send({}));
  EXPECT_TRUE(send(pattern(70'000)));
  queue_->runPending();
  EXPECT_EQ(peer_->received, frameText(bytesOf("hello")) + frameText({}) + frameText(pattern(70'000)));
  EXPECT_EQ(connection_->pendingSendBytes(), 0);
}

TEST_F(FramedConnectionTest, theBudgetRefusesAndForceDoesNot) {
  start();
  peer_->window = 0;
  ASSERT_TRUE(send(Bytes(523'996)));
  ASSERT_EQ(connection_->pendingSendBytes(), 524'000);
  EXPECT_FALSE(send(Bytes(600)));
  EXPECT_EQ(connection_->pendingSendBytes(), 524'000);
  EXPECT_TRUE(send(Bytes(600), 0, true));
  EXPECT_EQ(connection_->pendingSendBytes(), 524'604);
}

TEST_F(FramedConnectionTest, aFrameThatFillsTheBudgetExactlyGoes) {
  start();
  peer_->window = 0;
  EXPECT_FALSE(send(Bytes(97), 100));
  EXPECT_TRUE(send(Bytes(96), 100));
  EXPECT_FALSE(send({}, 103));
  EXPECT_TRUE(send({}, 104));
}

TEST_F(FramedConnectionTest, bytesCountUntilTheirWholeFrameIsProcessed) {
  start();
  peer_->window = 0;
  ASSERT_TRUE(send(Bytes(96)));
  ASSERT_TRUE(send(Bytes(196)));
  queue_->runPending();
  peer_->openWindow(99);
  queue_->runPending();
  EXPECT_EQ(connection_->pendingSendBytes(), 300);
  peer_->openWindow(1);
  queue_->runPending();
  EXPECT_EQ(connection_->pendingSendBytes(), 200);
  peer_->openWindow(1000);
  queue_->runPending();
  EXPECT_EQ(connection_->pendingSendBytes(), 0);
}

TEST_F(FramedConnectionTest, aCompletionNeverTakesTheCountBelowZero) {
  peer_->timesProcessedIsTold = 2;
  start();
  ASSERT_TRUE(send(Bytes(100)));
  queue_->runPending();
  EXPECT_EQ(connection_->pendingSendBytes(), 0);
}

TEST_F(FramedConnectionTest, theEndOfTheConnectionReleasesTheCount) {
  start();
  peer_->window = 0;
  ASSERT_TRUE(send(Bytes(100)));
  queue_->runPending();
  peer_->fail();
  queue_->runPending();
  EXPECT_EQ(connection_->pendingSendBytes(), 0);
  EXPECT_TRUE(send(Bytes(100)));  // it surfaces as a state, not here
  queue_->runPending();
  EXPECT_EQ(connection_->pendingSendBytes(), 0);
}

TEST_F(FramedConnectionTest, aCallbackAfterItIsGoneDoesNothing) {
  start();
  ASSERT_TRUE(send(Bytes(100)));
  peer_->send(frameText(bytesOf("late")));
  connection_.reset();
  queue_->runPending();
  EXPECT_TRUE(frames_.empty());
  EXPECT_TRUE(peer_->isReleased());
}

TEST_F(FramedConnectionTest, aFrameLargerThanTheBudgetNeverGoesUnforced) {
  start();
  EXPECT_FALSE(send(Bytes(3'145'725), 3'145'728));
  EXPECT_TRUE(send(Bytes(3'145'724), 3'145'728));
}

}  // namespace
}  // namespace tevanto
