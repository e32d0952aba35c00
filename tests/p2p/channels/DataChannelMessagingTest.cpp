#include "p2p/channels/DataChannelMessaging.h"

#include <gtest/gtest.h>

#include "p2p/channels/ControlFrames.h"
#include "remote/message/RemoteMessageCodec.h"
#include "screen/wire/ScreenStreamMessage.h"
#include "tests/p2p/channels/DataChannelMessagingFixture.h"
#include "tests/support/peers/CutPackets.h"

namespace tevanto {
namespace {

using namespace std::chrono_literals;
using test::Bytes;
using test::bytesOf;
using test::copyOf;
using test::FakeDataChannel;
using test::packets;
using test::pattern;
using Texts = std::vector<std::string>;

class DataChannelMessagingTest : public test::DataChannelMessagingFixture {};

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
  const auto packet = packets(screenMessage(ScreenMessageType::stop), 1)[0];
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

TEST_F(DataChannelMessagingTest, nothingArrivesAtADelegateThatIsGone) {
  messaging.received(*control, bytesOf(jsonOf(command("click"))));
  messaging.received(*control, bytesOf({2, 1}));
  delegate.reset();
  mainQueue->runPending();
  receive(*control, bytesOf({2, 1}));
}

}  // namespace
}  // namespace tevanto
