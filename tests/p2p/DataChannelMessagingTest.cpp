#include "p2p/DataChannelMessaging.h"

#include <gtest/gtest.h>

#include <limits>

#include "p2p/ControlFrames.h"
#include "remote/RemoteMessageCodec.h"
#include "screen/ScreenPackets.h"
#include "screen/ScreenStreamMessage.h"
#include "tests/support/FakeDataChannel.h"
#include "tests/support/ManualQueue.h"
#include "tests/support/RecordingLogSink.h"
#include "tests/support/ScreenBytes.h"

namespace tevanto {
namespace {

using namespace std::chrono_literals;
using test::Bytes;
using test::bytesOf;
using test::copyOf;
using test::FakeDataChannel;
using test::pattern;
using testing::Test;
using Texts = std::vector<std::string>;

class RecordingDelegate final : public DataChannelMessaging::Delegate {
 public:
  void messageArrived(RemoteMessage message) override { messages.push_back(std::move(message)); }
  void screenDataArrived(std::span<const std::byte> message) override {
    screen.push_back(copyOf(message));
    events.push_back("data");
  }
  void relayScreenBytesArrived(std::uint64_t bytes) override {
    events.push_back("relayed " + std::to_string(bytes));
  }
  void screenDataArriving() override { ++looks; }

  std::vector<RemoteMessage> messages;
  std::vector<Bytes> screen;
  Texts events;
  int looks = 0;
};

class DataChannelMessagingTest : public Test {
 protected:
  DataChannelMessagingTest() {
    messaging.setControlChannel(control);
    messaging.setMotionChannel(motion);
    messaging.setScreenChannel(screen);
  }

  Texts logged() const {
    Texts texts;
    for (const auto& line : sink->lines()) texts.push_back(line.text);
    return texts;
  }
  void receive(const FakeDataChannel& channel, const Bytes& frame) {
    messaging.received(channel, frame);
    mainQueue->runPending();
  }
  /// All packets of a screen message.
  void receiveScreen(const Bytes& message, std::uint32_t id) {
    forEachPacket(message, id, [&](auto packet) {
      messaging.received(*screen, packet);
      return true;
    });
    mainQueue->runPending();
  }

  std::shared_ptr<test::ManualQueue> mainQueue = std::make_shared<test::ManualQueue>("main");
  std::shared_ptr<test::RecordingLogSink> sink = std::make_shared<test::RecordingLogSink>();
  std::shared_ptr<RecordingDelegate> delegate = std::make_shared<RecordingDelegate>();
  std::shared_ptr<FakeDataChannel> control = std::make_shared<FakeDataChannel>("tevanto");
  std::shared_ptr<FakeDataChannel> motion = std::make_shared<FakeDataChannel>("tevanto-motion");
  std::shared_ptr<FakeDataChannel> screen = std::make_shared<FakeDataChannel>("tevanto-screen");
  DataChannelMessaging messaging{{mainQueue, "answerer", Logger(sink, "webrtc")}, delegate};
};

std::string jsonOf(const RemoteMessage& message) {
  std::string json;
  EXPECT_TRUE(encodeRemoteMessage(message, json));
  return json;
}

RemoteMessage command(const std::string& type) { return {.type = "command", .command = RemoteCommand{type}}; }

/// A message whose JSON has exactly `size` bytes.
RemoteMessage messageOf(std::size_t size) {
  RemoteMessage message{.type = "ack", .message = ""};
  message.message = std::string(size - jsonOf(message).size(), 'x');
  return message;
}

Bytes chunkFrame(int id, int index, int count, std::string_view payload) {
  auto frame = bytesOf({1, 0, 0, 0, id, index >> 8, index & 0xFF, count >> 8, count & 0xFF});
  const auto rest = bytesOf(payload);
  frame.insert(frame.end(), rest.begin(), rest.end());
  return frame;
}

TEST_F(DataChannelMessagingTest, sendsPointerMotionOnItsOwnChannelAndAllElseOnControl) {
  messaging.send(command("movePointer"));
  EXPECT_EQ(motion->sent, std::vector<Bytes>{bytesOf(jsonOf(command("movePointer")))});
  EXPECT_TRUE(control->sent.empty());
  for (const auto& message :
       {command("click"), RemoteMessage{.type = "movePointer"}, RemoteMessage{.type = "command"},
        RemoteMessage{.type = "ack", .command = RemoteCommand{"movePointer"}}}) {
    messaging.send(message);
    EXPECT_EQ(control->sent.back(), bytesOf(jsonOf(message)));
  }
  EXPECT_EQ(control->sent.size(), 4u);
  EXPECT_EQ(motion->sent.size(), 1u);
}

TEST_F(DataChannelMessagingTest, sendsPointerMotionOnControlWhereTheMotionChannelIsMissingOrNotOpen) {
  for (const auto state :
       {DataChannelState::connecting, DataChannelState::closing, DataChannelState::closed}) {
    motion->currentState = state;
    messaging.send(command("movePointer"));
  }
  messaging.setMotionChannel(nullptr);
  messaging.send(command("movePointer"));
  EXPECT_EQ(control->sent.size(), 4u);
  EXPECT_TRUE(motion->sent.empty());
}

TEST_F(DataChannelMessagingTest, sendsNothingWithoutAnOpenControlChannel) {
  control->currentState = DataChannelState::connecting;
  messaging.send({.type = "ack"});
  messaging.setControlChannel(nullptr);
  messaging.send({.type = "ack"});
  EXPECT_TRUE(control->sent.empty());
  EXPECT_TRUE(motion->sent.empty());
  messaging.send(command("movePointer"));  // has its own way
  EXPECT_EQ(motion->sent.size(), 1u);
}

TEST_F(DataChannelMessagingTest, sendsNothingThatDoesNotEncode) {
  messaging.send({.type = "systemState", .volume = std::numeric_limits<double>::infinity()});
  EXPECT_TRUE(control->sent.empty());
}

TEST_F(DataChannelMessagingTest, sendsSixtyThousandBytesWholeAndOneMoreAsTwoChunks) {
  messaging.send(messageOf(60'000));
  ASSERT_EQ(control->sent.size(), 1u);
  EXPECT_EQ(control->sent[0], bytesOf(jsonOf(messageOf(60'000))));
  EXPECT_TRUE(logged().empty());
  control->sent.clear();

  messaging.send(messageOf(60'001));
  ASSERT_EQ(control->sent.size(), 2u);
  const auto json = bytesOf(jsonOf(messageOf(60'001)));
  const auto first = parseMessageChunk(control->sent[0]);
  const auto second = parseMessageChunk(control->sent[1]);
  ASSERT_TRUE(first && second);
  EXPECT_EQ(first->messageID, 0u);
  EXPECT_EQ(second->messageID, 0u);
  EXPECT_EQ(copyOf(first->payload), copyOf(std::span(json).first(60'000)));
  EXPECT_EQ(copyOf(second->payload), copyOf(std::span(json).subspan(60'000)));
  EXPECT_EQ(logged(), Texts{"webrtc: [answerer] sending 60001 bytes as 2 chunks"});

  control->sent.clear();
  messaging.send(messageOf(150'000));
  ASSERT_EQ(control->sent.size(), 3u);
  EXPECT_EQ(parseMessageChunk(control->sent[2])->messageID, 1u);
}

TEST_F(DataChannelMessagingTest, largePointerMotionGoesInChunksOnItsOwnChannel) {
  auto message = command("movePointer");
  message.command->text = std::string(70'000, 'x');
  messaging.send(message);
  EXPECT_EQ(motion->sent.size(), 2u);
  EXPECT_TRUE(control->sent.empty());
}

TEST_F(DataChannelMessagingTest, stopsSendingChunksWhenTheChannelTakesNoMore) {
  control->refusesFrom = 1;
  messaging.send(messageOf(200'000));
  EXPECT_EQ(control->sent.size(), 1u);
}

TEST_F(DataChannelMessagingTest, deliversMessagesOfControlAndMotionOnTheMainQueue) {
  messaging.received(*control, bytesOf(jsonOf(command("click"))));
  messaging.received(*motion, bytesOf(jsonOf(command("movePointer"))));
  EXPECT_TRUE(delegate->messages.empty());
  mainQueue->runPending();
  EXPECT_EQ(delegate->messages, (std::vector{command("click"), command("movePointer")}));
}

TEST_F(DataChannelMessagingTest, ignoresChannelsThatAreNotCurrent) {
  const auto message = bytesOf(jsonOf(command("click")));
  const auto old = control;
  messaging.setControlChannel(std::make_shared<FakeDataChannel>("tevanto"));
  receive(*old, message);
  messaging.setMotionChannel(nullptr);
  receive(*motion, message);
  const auto packet = copyOf(packets(screenMessage(ScreenMessageType::stop), 1)[0]);
  const auto oldScreen = screen;
  messaging.setScreenChannel(nullptr);
  receive(*oldScreen, packet);
  EXPECT_TRUE(delegate->messages.empty());
  EXPECT_TRUE(delegate->screen.empty());
  EXPECT_TRUE(logged().empty());
}

TEST_F(DataChannelMessagingTest, decodesTaggedMessages) {
  auto frame = bytesOf({0});
  const auto json = bytesOf(jsonOf(command("click")));
  frame.insert(frame.end(), json.begin(), json.end());
  receive(*control, frame);
  EXPECT_EQ(delegate->messages, std::vector{command("click")});
}

TEST_F(DataChannelMessagingTest, logsWhatItCannotDecodeWithItsSize) {
  receive(*control, bytesOf("[1]"));  // JSON, but no message
  receive(*control, bytesOf("{\"typ\":"));
  receive(*control, bytesOf({0, 'x'}));
  receive(*control, bytesOf({0}));
  receive(*control, chunkFrame(1, 0, 1, "junk"));
  EXPECT_TRUE(delegate->messages.empty());
  EXPECT_EQ(logged(), (Texts{"webrtc: [answerer] undecodable message (3 bytes)",
                             "webrtc: [answerer] undecodable message (7 bytes)",
                             "webrtc: [answerer] undecodable message (1 bytes)",
                             "webrtc: [answerer] undecodable message (0 bytes)",
                             "webrtc: [answerer] reassembled 4 bytes from 1 chunks",
                             "webrtc: [answerer] undecodable message (4 bytes)"}));
}

TEST_F(DataChannelMessagingTest, logsUnknownTagsAndDropsTheFrame) {
  receive(*control, bytesOf({3, '{', '}'}));
  receive(*motion, bytesOf({255}));
  receive(*control, {});
  EXPECT_EQ(logged(),
            (Texts{"webrtc: [answerer] unknown frame tag 3", "webrtc: [answerer] unknown frame tag 255"}));
  EXPECT_TRUE(delegate->messages.empty());
}

TEST_F(DataChannelMessagingTest, reassemblesChunksInIndexOrder) {
  const auto json = jsonOf(command("click"));
  const auto third = json.size() / 3;
  receive(*control, chunkFrame(9, 2, 3, json.substr(2 * third)));
  receive(*control, chunkFrame(9, 0, 3, json.substr(0, third)));
  EXPECT_TRUE(delegate->messages.empty());
  receive(*control, chunkFrame(9, 1, 3, json.substr(third, third)));
  EXPECT_EQ(delegate->messages, std::vector{command("click")});
  EXPECT_EQ(logged(),
            Texts{"webrtc: [answerer] reassembled " + std::to_string(json.size()) + " bytes from 3 chunks"});
}

TEST_F(DataChannelMessagingTest, readsEveryKindOfFrameOnTheMotionChannelToo) {
  const auto json = jsonOf(command("movePointer"));
  receive(*motion, chunkFrame(5, 1, 2, json.substr(10)));
  receive(*motion, chunkFrame(5, 0, 2, json.substr(0, 10)));
  EXPECT_EQ(delegate->messages, std::vector{command("movePointer")});
  receive(*motion, bytesOf({2, 1, 7}));
  EXPECT_EQ(delegate->screen, std::vector<Bytes>{bytesOf({1, 7})});
}

TEST_F(DataChannelMessagingTest, dropsInvalidChunksSilently) {
  receive(*control, bytesOf({1, 0, 0, 0, 1, 0, 0, 0, 1}));  // 9 bytes
  receive(*control, chunkFrame(1, 0, 0, "{\"type\":\"ack\"}"));
  receive(*control, chunkFrame(1, 1, 1, "{\"type\":\"ack\"}"));
  EXPECT_TRUE(delegate->messages.empty());
  EXPECT_TRUE(logged().empty());
  receive(*control, chunkFrame(1, 0, 1, "{\"type\":\"ack\"}"));
  EXPECT_EQ(delegate->messages.size(), 1u);
}

TEST_F(DataChannelMessagingTest, forgetsChunksAfterThirtySecondsAndWithTheirChannel) {
  receive(*control, chunkFrame(1, 0, 2, "{\"type\":"));
  mainQueue->advance(30s);
  receive(*control, chunkFrame(1, 1, 2, "\"ack\"}"));
  EXPECT_TRUE(delegate->messages.empty());

  receive(*control, chunkFrame(2, 0, 2, "{\"type\":"));
  messaging.setControlChannel(control);  // the same one
  receive(*control, chunkFrame(2, 1, 2, "\"ack\"}"));
  EXPECT_EQ(delegate->messages.size(), 1u);

  receive(*control, chunkFrame(3, 0, 2, "{\"type\":"));
  control = std::make_shared<FakeDataChannel>("tevanto");
  messaging.setControlChannel(control);
  receive(*control, chunkFrame(3, 1, 2, "\"ack\"}"));
  EXPECT_EQ(delegate->messages.size(), 1u);
}

TEST_F(DataChannelMessagingTest, whatItSendsInChunksItsTwinReassembles) {
  messaging.send(messageOf(333'333));
  EXPECT_EQ(control->sent.size(), 6u);
  for (const auto& frame : control->sent) messaging.received(*control, frame);
  mainQueue->runPending();
  EXPECT_EQ(delegate->messages, std::vector{messageOf(333'333)});
}

TEST_F(DataChannelMessagingTest, sendsAFrameInPacketsUnderRisingIds) {
  const auto frame = videoFrameMessage(pattern(8'000), true);
  EXPECT_TRUE(messaging.sendScreenFrame(frame, true));
  ASSERT_EQ(screen->sent.size(), 3u);
  const auto first = packets(frame, 0);
  for (std::size_t i = 0; i < 3; ++i) EXPECT_EQ(screen->sent[i], copyOf(first[i]));
  EXPECT_TRUE(messaging.sendScreenFrame(frame, false));
  EXPECT_EQ(parse(screen->sent[3])->packetID, 1u);
}

TEST_F(DataChannelMessagingTest, refusesEmptyFramesAndClosedScreenChannels) {
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

TEST_F(DataChannelMessagingTest, dropsFramesByWhatIsBuffered) {
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

TEST_F(DataChannelMessagingTest, tellsWhetherAKeyFrameWouldPass) {
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

TEST_F(DataChannelMessagingTest, aDroppedFrameTakesNoId) {
  EXPECT_FALSE(messaging.sendScreenFrame(pattern(600'000), false));
  EXPECT_TRUE(messaging.sendScreenFrame(pattern(1), false));
  EXPECT_EQ(parse(screen->sent[0])->packetID, 0u);
}

TEST_F(DataChannelMessagingTest, aFrameStopsWhereAPacketIsRefused) {
  screen->refusesFrom = 2;
  EXPECT_FALSE(messaging.sendScreenFrame(pattern(20'000), true));
  EXPECT_EQ(screen->sent.size(), 2u);
}

TEST_F(DataChannelMessagingTest, sendsScreenPayloadsOfUpToSixtyThousandBytesOnControl) {
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

TEST_F(DataChannelMessagingTest, deliversScreenMessagesOfBothChannelsOnTheMainQueue) {
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

TEST_F(DataChannelMessagingTest, anEmptyScreenPayloadIsNoScreenData) {
  receive(*control, bytesOf({2}));
  EXPECT_TRUE(delegate->screen.empty());
  EXPECT_EQ(delegate->looks, 0);
}

TEST_F(DataChannelMessagingTest, discardsOlderAndRepeatedVideoFramesButNothingElse) {
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

TEST_F(DataChannelMessagingTest, aNewScreenChannelBeginsWithAnyId) {
  receiveScreen(videoFrameMessage(bytesOf("a"), true), 100);
  messaging.setScreenChannel(screen);  // the same one
  receiveScreen(videoFrameMessage(bytesOf("b"), true), 1);
  EXPECT_EQ(delegate->screen.size(), 1u);
  screen = std::make_shared<FakeDataChannel>("tevanto-screen");
  messaging.setScreenChannel(screen);
  receiveScreen(videoFrameMessage(bytesOf("b"), true), 1);
  EXPECT_EQ(delegate->screen.size(), 2u);
}

TEST_F(DataChannelMessagingTest, partialFramesAreForgottenAfterTwoSeconds) {
  const auto cut = packets(videoFrameMessage(pattern(5'000), true), 1);
  receive(*screen, copyOf(cut[0]));
  mainQueue->advance(2s);
  receive(*screen, copyOf(cut[1]));
  EXPECT_TRUE(delegate->screen.empty());
}

TEST_F(DataChannelMessagingTest, relayedScreenBytesAreReportedInSteps) {
  EXPECT_EQ(messaging.routeSelected(true), (RelayAccount::RouteChange{true, std::nullopt}));
  const auto message = videoFrameMessage(pattern(399'998), true);  // 400,000 bytes
  for (std::uint32_t id = 1; id <= 4; ++id) receiveScreen(message, id);
  EXPECT_EQ(delegate->events, (Texts{"data", "data", "relayed 1200000", "data", "data"}));
  receive(*control, bytesOf({2, 1, 1}));  // counts too
  EXPECT_EQ(messaging.routeSelected(false), (RelayAccount::RouteChange{true, 400'002}));
}

TEST_F(DataChannelMessagingTest, directScreenBytesAreNotReported) {
  for (std::uint32_t id = 1; id <= 4; ++id) receiveScreen(videoFrameMessage(pattern(3'000'000), true), id);
  EXPECT_EQ(delegate->events, (Texts{"data", "data", "data", "data"}));
}

TEST_F(DataChannelMessagingTest, nothingArrivesAtADelegateThatIsGone) {
  messaging.received(*control, bytesOf(jsonOf(command("click"))));
  messaging.received(*control, bytesOf({2, 1}));
  delegate.reset();
  mainQueue->runPending();
  receive(*control, bytesOf({2, 1}));
}

}  // namespace
}  // namespace tevanto
