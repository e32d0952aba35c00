#include <gtest/gtest.h>

#include <limits>

#include "p2p/channels/ControlFrames.h"
#include "p2p/channels/DataChannelMessaging.h"
#include "screen/wire/ScreenPackets.h"
#include "screen/wire/ScreenStreamMessage.h"
#include "tests/p2p/channels/DataChannelMessagingFixture.h"
#include "tests/support/peers/CutPackets.h"

namespace tevanto {
namespace {

using namespace std::chrono_literals;
using test::Bytes;
using test::bytesOf;
using test::FakeDataChannel;
using test::packets;
using test::pattern;
using Texts = std::vector<std::string>;

/// What the screen's frames and messages meet on their way.
class DataChannelScreenTest : public test::DataChannelMessagingFixture {};

TEST_F(DataChannelScreenTest, sendsAFrameInPacketsUnderRisingIds) {
  const auto frame = videoFrameMessage(pattern(8'000), true);
  EXPECT_TRUE(messaging.sendScreenFrame(frame, true));
  ASSERT_EQ(screen->sent.size(), 3u);
  const auto first = packets(frame, 0);
  for (std::size_t i = 0; i < 3; ++i) EXPECT_EQ(screen->sent[i], first[i]);
  EXPECT_TRUE(messaging.sendScreenFrame(frame, false));
  EXPECT_EQ(parse(screen->sent[3])->packetID, 1u);
}

TEST_F(DataChannelScreenTest, refusesEmptyFramesAndClosedScreenChannels) {
  EXPECT_FALSE(messaging.sendScreenFrame({}, true));
  for (const auto state :
       {DataChannelState::connecting, DataChannelState::closing, DataChannelState::closed}) {
    screen->currentState = state;
    EXPECT_FALSE(messaging.sendScreenFrame(pattern(10), true));
  }
  messaging.setScreenChannel(nullptr);
  EXPECT_FALSE(messaging.sendScreenFrame(pattern(10), true));
  EXPECT_TRUE(screen->sent.empty());
  EXPECT_TRUE(logged().empty());  // nothing of that is the drop rule's
}

TEST_F(DataChannelScreenTest, dropsFramesByWhatIsBuffered) {
  screen->buffered = 65'537;
  EXPECT_FALSE(messaging.sendScreenFrame(pattern(1), true));
  EXPECT_TRUE(messaging.sendScreenFrame(pattern(1), false));
  screen->buffered = 65'536;
  EXPECT_TRUE(messaging.sendScreenFrame(pattern(1), true));
  screen->buffered = 0;
  EXPECT_FALSE(messaging.sendScreenFrame(pattern(600'000), false));
  EXPECT_TRUE(messaging.sendScreenFrame(pattern(600'000), true));
  screen->buffered = 424'289;
  EXPECT_FALSE(messaging.sendScreenFrame(pattern(100'000), false));
  EXPECT_EQ(logged(), (Texts{"webrtc: [answerer] dropping key screen frame at 65537 buffered bytes",
                             "webrtc: [answerer] dropping delta screen frame at 0 buffered bytes",
                             "webrtc: [answerer] dropping delta screen frame at 424289 buffered bytes"}));
}

TEST_F(DataChannelScreenTest, tellsWhetherAKeyFrameWouldPass) {
  EXPECT_TRUE(messaging.takesKeyFrame(3'145'728));
  EXPECT_FALSE(messaging.takesKeyFrame(3'145'729));
  screen->buffered = 65'536;
  EXPECT_TRUE(messaging.takesKeyFrame(1));
  screen->buffered = 65'537;
  EXPECT_FALSE(messaging.takesKeyFrame(1));
  screen->buffered = 0;
  screen->currentState = DataChannelState::closing;
  EXPECT_FALSE(messaging.takesKeyFrame(1));
  messaging.setScreenChannel(nullptr);
  EXPECT_FALSE(messaging.takesKeyFrame(1));
  EXPECT_TRUE(logged().empty());
}

TEST_F(DataChannelScreenTest, aDroppedFrameTakesNoId) {
  EXPECT_FALSE(messaging.sendScreenFrame(pattern(600'000), false));
  EXPECT_TRUE(messaging.sendScreenFrame(pattern(1), false));
  EXPECT_EQ(parse(screen->sent[0])->packetID, 0u);
}

TEST_F(DataChannelScreenTest, aFrameStopsWhereAPacketIsRefused) {
  screen->refusesFrom = 2;
  EXPECT_FALSE(messaging.sendScreenFrame(pattern(20'000), true));
  EXPECT_EQ(screen->sent.size(), 2u);
}

TEST_F(DataChannelScreenTest, sendsScreenPayloadsOfUpToSixtyThousandBytesOnControl) {
  EXPECT_TRUE(messaging.sendScreenPayload(bytesOf({1, 7})));
  EXPECT_EQ(control->sent[0], bytesOf({2, 1, 7}));
  EXPECT_TRUE(messaging.sendScreenPayload(pattern(60'000)));
  EXPECT_FALSE(messaging.sendScreenPayload(pattern(60'001)));
  EXPECT_FALSE(messaging.sendScreenPayload({}));
  control->buffered = 100'000'000;  // no drop rule here
  EXPECT_TRUE(messaging.sendScreenPayload(bytesOf({1})));
  EXPECT_EQ(control->sent.size(), 3u);
  control->refusesFrom = 3;
  EXPECT_FALSE(messaging.sendScreenPayload(bytesOf({1})));
  control->currentState = DataChannelState::closing;
  EXPECT_FALSE(messaging.sendScreenPayload(bytesOf({1})));
  messaging.setControlChannel(nullptr);
  EXPECT_FALSE(messaging.sendScreenPayload(bytesOf({1})));
  EXPECT_TRUE(screen->sent.empty());
}

TEST_F(DataChannelScreenTest, deliversScreenMessagesOfBothChannelsOnTheMainQueue) {
  const auto frame = videoFrameMessage(pattern(9'000), true);
  forEachPacket(frame, 4, [&](auto packet) {
    messaging.received(*screen, packet);
    return true;
  });
  messaging.received(*control, bytesOf({2, 1, 9, 9}));
  EXPECT_TRUE(delegate->screen.empty());
  mainQueue->runPending();
  EXPECT_EQ(delegate->screen, (std::vector<Bytes>{frame, bytesOf({1, 9, 9})}));
  EXPECT_EQ(delegate->looks, 2);
}

TEST_F(DataChannelScreenTest, anEmptyScreenPayloadIsNoScreenData) {
  receive(*control, bytesOf({2}));
  EXPECT_TRUE(delegate->screen.empty());
  EXPECT_EQ(delegate->looks, 0);
}

TEST_F(DataChannelScreenTest, discardsOlderAndRepeatedVideoFramesButNothingElse) {
  receiveScreen(videoFrameMessage(bytesOf("a"), true), 7);
  receiveScreen(videoFrameMessage(bytesOf("b"), false), 6);
  receiveScreen(videoFrameMessage(bytesOf("c"), false), 7);
  EXPECT_EQ(delegate->screen.size(), 1u);
  receiveScreen(parameterSetMessage(bytesOf("s"), bytesOf("p")), 2);
  EXPECT_EQ(delegate->screen.size(), 2u);
  receive(*control, bytesOf({2, 2, 0, 1}));  // a frame on the ordered channel: no such test
  EXPECT_EQ(delegate->screen.size(), 3u);
  receiveScreen(videoFrameMessage(bytesOf("d"), false), 8);
  EXPECT_EQ(delegate->screen.size(), 4u);
}

TEST_F(DataChannelScreenTest, aNewScreenChannelBeginsWithAnyId) {
  receiveScreen(videoFrameMessage(bytesOf("a"), true), 100);
  messaging.setScreenChannel(screen);  // the same one
  receiveScreen(videoFrameMessage(bytesOf("b"), true), 1);
  EXPECT_EQ(delegate->screen.size(), 1u);
  screen = std::make_shared<FakeDataChannel>("tevanto-screen");
  messaging.setScreenChannel(screen);
  receiveScreen(videoFrameMessage(bytesOf("b"), true), 1);
  EXPECT_EQ(delegate->screen.size(), 2u);
}

TEST_F(DataChannelScreenTest, partialFramesAreForgottenAfterTwoSeconds) {
  const auto cut = packets(videoFrameMessage(pattern(5'000), true), 1);
  receive(*screen, cut[0]);
  mainQueue->advance(2s);
  receive(*screen, cut[1]);
  EXPECT_TRUE(delegate->screen.empty());
}

TEST_F(DataChannelScreenTest, relayedScreenBytesAreReportedInSteps) {
  EXPECT_EQ(messaging.routeSelected(true), (TurnByteCounter::RouteChange{true, std::nullopt}));
  const auto message = videoFrameMessage(pattern(399'998), true);  // 400,000 bytes
  for (std::uint32_t id = 1; id <= 4; ++id) receiveScreen(message, id);
  EXPECT_EQ(delegate->events, (Texts{"data", "data", "relayed 1200000", "data", "data"}));
  receive(*control, bytesOf({2, 1, 1}));  // counts too
  EXPECT_EQ(messaging.routeSelected(false), (TurnByteCounter::RouteChange{true, 400'002}));
}

TEST_F(DataChannelScreenTest, directScreenBytesAreNotReported) {
  for (std::uint32_t id = 1; id <= 4; ++id) receiveScreen(videoFrameMessage(pattern(3'000'000), true), id);
  EXPECT_EQ(delegate->events, (Texts{"data", "data", "data", "data"}));
}

}  // namespace
}  // namespace tevanto
