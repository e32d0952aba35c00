#include "screen/wire/WebRTCScreenPacketAssembler.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "screen/wire/BigEndian.h"
#include "screen/wire/ScreenPacketReceiver.h"
#include "screen/wire/ScreenStreamMessage.h"
#include "tests/support/peers/CutPackets.h"
#include "tests/support/peers/ScreenBytes.h"

namespace tevanto {
namespace {

using namespace std::chrono_literals;
using test::Bytes;
using test::bytesOf;
using test::packets;
using test::pattern;

constexpr WebRTCScreenPacketAssembler::TimePoint kStart{1h};

Bytes packet(std::uint32_t id, std::uint16_t index, std::uint16_t count, std::span<const std::byte> payload) {
  Bytes bytes;
  const auto append = [&](std::span<const std::byte> more) {
    bytes.insert(bytes.end(), more.begin(), more.end());
  };
  append(bigEndian(id));
  append(bigEndian(index));
  append(bigEndian(count));
  append(payload);
  return bytes;
}

TEST(WebRTCScreenPacketAssembler, givesAMessageWithItsLastMissingChunk) {
  WebRTCScreenPacketAssembler assembler;
  const auto message = pattern(10'001);
  const auto cut = packets(message, 42);
  ASSERT_EQ(cut.size(), 3u);
  EXPECT_FALSE(assembler.ingest(cut[0], kStart));
  EXPECT_FALSE(assembler.ingest(cut[1], kStart));
  const auto whole = assembler.ingest(cut[2], kStart);
  ASSERT_TRUE(whole);
  EXPECT_EQ(whole->packetID, 42u);
  EXPECT_EQ(whole->bytes, message);
  EXPECT_EQ(assembler.pendingPackets(), 0u);
  EXPECT_EQ(assembler.pendingBytes(), 0u);
}

TEST(WebRTCScreenPacketAssembler, joinsInIndexOrderWhateverTheOrderOfArrival) {
  const auto message = pattern(30'000);
  const auto cut = packets(message, 1);
  std::vector<std::size_t> order{0, 1, 2, 3, 4, 5, 6, 7};
  std::mt19937 random(5);
  for (int round = 0; round < 50; ++round) {
    std::shuffle(order.begin(), order.end(), random);
    WebRTCScreenPacketAssembler assembler;
    for (std::size_t i = 0; i + 1 < order.size(); ++i) ASSERT_FALSE(assembler.ingest(cut[order[i]], kStart));
    const auto whole = assembler.ingest(cut[order.back()], kStart);
    ASSERT_TRUE(whole);
    ASSERT_EQ(whole->bytes, message);
  }
}

TEST(WebRTCScreenPacketAssembler, assemblesSeveralMessagesAtOnce) {
  WebRTCScreenPacketAssembler assembler;
  const auto first = pattern(9000, 1);
  const auto second = pattern(9000, 2);
  const auto cutFirst = packets(first, 1);
  const auto cutSecond = packets(second, 2);
  for (std::size_t i = 0; i < 2; ++i) {
    EXPECT_FALSE(assembler.ingest(cutFirst[i], kStart));
    EXPECT_FALSE(assembler.ingest(cutSecond[i], kStart));
  }
  EXPECT_EQ(assembler.ingest(cutSecond[2], kStart)->bytes, second);
  EXPECT_EQ(assembler.ingest(cutFirst[2], kStart)->bytes, first);
}

TEST(WebRTCScreenPacketAssembler, anInvalidPacketChangesNothing) {
  WebRTCScreenPacketAssembler assembler;
  ASSERT_FALSE(assembler.ingest(packet(1, 0, 2, pattern(10)), kStart));
  // Not even time passes: the partial is long expired, but nobody looked.
  EXPECT_FALSE(assembler.ingest(bytesOf({1, 2, 3}), kStart + 1h));
  EXPECT_FALSE(assembler.ingest(packet(1, 2, 2, pattern(10)), kStart + 1h));
  EXPECT_EQ(assembler.pendingPackets(), 1u);
}

TEST(WebRTCScreenPacketAssembler, aRepeatedChunkReplacesTheStoredOne) {
  WebRTCScreenPacketAssembler assembler;
  EXPECT_FALSE(assembler.ingest(packet(1, 0, 2, bytesOf("old")), kStart));
  EXPECT_EQ(assembler.pendingBytes(), 3u);
  EXPECT_FALSE(assembler.ingest(packet(1, 0, 2, bytesOf("new")), kStart));
  EXPECT_EQ(assembler.pendingBytes(), 3u);
  EXPECT_EQ(assembler.ingest(packet(1, 1, 2, bytesOf("er")), kStart)->bytes, bytesOf("newer"));
}

TEST(WebRTCScreenPacketAssembler, aPartialIsGoneAtTwoSecondsExactly) {
  for (const auto age : {1999ms, 2000ms, 2001ms}) {
    WebRTCScreenPacketAssembler assembler;
    EXPECT_FALSE(assembler.ingest(packet(1, 0, 2, bytesOf("a")), kStart));
    const auto whole = assembler.ingest(packet(1, 1, 2, bytesOf("b")), kStart + age);
    EXPECT_EQ(whole.has_value(), age < 2s) << age.count();
  }
}

TEST(WebRTCScreenPacketAssembler, lateChunksStartANewPartial) {
  WebRTCScreenPacketAssembler assembler;
  EXPECT_FALSE(assembler.ingest(packet(1, 0, 2, bytesOf("a")), kStart));
  EXPECT_FALSE(assembler.ingest(packet(1, 1, 2, bytesOf("b")), kStart + 3s));
  EXPECT_EQ(assembler.pendingPackets(), 1u);
  EXPECT_EQ(assembler.pendingBytes(), 1u);
  EXPECT_EQ(assembler.ingest(packet(1, 0, 2, bytesOf("c")), kStart + 4s)->bytes, bytesOf("cb"));
}

TEST(WebRTCScreenPacketAssembler, ageCountsFromTheFirstChunk) {
  WebRTCScreenPacketAssembler assembler;
  EXPECT_FALSE(assembler.ingest(packet(1, 0, 3, bytesOf("a")), kStart));
  EXPECT_FALSE(assembler.ingest(packet(1, 1, 3, bytesOf("b")), kStart + 1500ms));
  EXPECT_FALSE(assembler.ingest(packet(1, 2, 3, bytesOf("c")), kStart + 2s));
}

TEST(WebRTCScreenPacketAssembler, beyondEightPartialsTheLowestIdsGo) {
  WebRTCScreenPacketAssembler assembler;
  for (const std::uint32_t id : {20u, 11u, 12u, 13u, 14u, 15u, 16u, 17u}) {
    EXPECT_FALSE(assembler.ingest(packet(id, 0, 2, bytesOf("a")), kStart));
  }
  EXPECT_EQ(assembler.pendingPackets(), 8u);
  EXPECT_FALSE(assembler.ingest(packet(18, 0, 2, bytesOf("a")), kStart));
  EXPECT_EQ(assembler.pendingPackets(), 8u);
  // 11 is gone; 20, the oldest, is not.
  EXPECT_TRUE(assembler.ingest(packet(20, 1, 2, bytesOf("b")), kStart));
  EXPECT_FALSE(assembler.ingest(packet(11, 1, 2, bytesOf("b")), kStart));
  // A new one with the lowest id of all is itself the surplus.
  ASSERT_EQ(assembler.pendingPackets(), 8u);
  EXPECT_FALSE(assembler.ingest(packet(1, 0, 2, bytesOf("a")), kStart));
  EXPECT_FALSE(assembler.ingest(packet(1, 1, 2, bytesOf("b")), kStart));
}

TEST(WebRTCScreenPacketAssembler, beyondEightMebibytesTheEarliestGo) {
  WebRTCScreenPacketAssembler assembler;
  const auto big = pattern(2'800'000);
  EXPECT_FALSE(assembler.ingest(packet(3, 0, 2, big), kStart));
  EXPECT_FALSE(assembler.ingest(packet(1, 0, 2, big), kStart + 1ms));
  EXPECT_EQ(assembler.pendingBytes(), 5'600'000u);
  EXPECT_FALSE(assembler.ingest(packet(2, 0, 2, big), kStart + 2ms));
  EXPECT_EQ(assembler.pendingBytes(), 5'600'000u);
  EXPECT_FALSE(assembler.ingest(packet(3, 1, 2, bytesOf("b")), kStart + 3ms));
  EXPECT_TRUE(assembler.ingest(packet(1, 1, 2, bytesOf("b")), kStart + 3ms));
  EXPECT_TRUE(assembler.ingest(packet(2, 1, 2, bytesOf("b")), kStart + 3ms));
}

TEST(WebRTCScreenPacketAssembler, exactlyEightMebibytesStay) {
  WebRTCScreenPacketAssembler assembler;
  EXPECT_FALSE(assembler.ingest(packet(1, 0, 2, Bytes(3'000'000)), kStart));
  EXPECT_FALSE(assembler.ingest(packet(2, 0, 2, Bytes(3'000'000)), kStart));
  EXPECT_FALSE(assembler.ingest(packet(3, 0, 2, Bytes(2'388'608)), kStart));
  EXPECT_EQ(assembler.pendingBytes(), 8'388'608u);
  EXPECT_FALSE(assembler.ingest(packet(4, 0, 2, Bytes(1)), kStart + 1ms));
  EXPECT_EQ(assembler.pendingBytes(), 5'388'609u);
}

TEST(WebRTCScreenPacketAssembler, aMessageOfThreeMebibytesIsTheLargest) {
  const auto largest = pattern(3'145'728);
  const auto tooLarge = pattern(3'145'729);
  WebRTCScreenPacketAssembler assembler;
  const auto feed = [&](const Bytes& message, std::uint32_t id) {
    std::optional<AssembledScreenMessage> whole;
    const auto cut = packets(message, id);
    for (std::size_t i = 0; i < cut.size(); ++i) whole = assembler.ingest(cut[i], kStart);
    return whole;
  };
  const auto whole = feed(largest, 1);
  ASSERT_TRUE(whole);
  EXPECT_EQ(whole->bytes, largest);
  EXPECT_FALSE(feed(tooLarge, 2));
  EXPECT_FALSE(assembler.ingest(packet(3, 0, 1, tooLarge), kStart));
}

TEST(WebRTCScreenPacketAssembler, repeatedChunksOfGrowingSizeCannotOutgrowTheLimit) {
  WebRTCScreenPacketAssembler assembler;
  EXPECT_FALSE(assembler.ingest(packet(1, 0, 3, bytesOf("a")), kStart));
  EXPECT_FALSE(assembler.ingest(packet(1, 1, 3, bytesOf("b")), kStart));
  EXPECT_FALSE(assembler.ingest(packet(1, 0, 3, Bytes(3'000'000)), kStart));
  EXPECT_EQ(assembler.pendingBytes(), 3'000'001u);
  EXPECT_FALSE(assembler.ingest(packet(1, 1, 3, Bytes(3'000'000)), kStart));
  EXPECT_EQ(assembler.pendingBytes(), 0u);
  EXPECT_FALSE(assembler.ingest(packet(1, 2, 3, bytesOf("c")), kStart));
}

TEST(WebRTCScreenPacketAssembler, aChunkThatDisagreesAboutTheCountDropsTheMessage) {
  for (const std::uint16_t count : {1, 3}) {
    WebRTCScreenPacketAssembler assembler;
    EXPECT_FALSE(assembler.ingest(packet(1, 0, 2, bytesOf("a")), kStart));
    EXPECT_FALSE(assembler.ingest(packet(1, 0, count, bytesOf("x")), kStart));
    EXPECT_EQ(assembler.pendingPackets(), 0u);
    EXPECT_FALSE(assembler.ingest(packet(1, 1, 2, bytesOf("b")), kStart));
    EXPECT_EQ(assembler.ingest(packet(1, 0, 2, bytesOf("c")), kStart)->bytes, bytesOf("cb"));
  }
}

TEST(WebRTCScreenPacketAssembler, resetForgetsWhatIsUnfinished) {
  WebRTCScreenPacketAssembler assembler;
  EXPECT_FALSE(assembler.ingest(packet(1, 0, 2, bytesOf("a")), kStart));
  assembler.reset();
  EXPECT_EQ(assembler.pendingPackets(), 0u);
  EXPECT_FALSE(assembler.ingest(packet(1, 1, 2, bytesOf("b")), kStart));
}

TEST(ScreenPacketReceiver, holdsBackVideoFramesThatComeLateOrTwice) {
  ScreenPacketReceiver receiver;
  const auto frame = [](std::uint32_t id) { return packets(videoFrameMessage(bytesOf("x"), false), id)[0]; };
  EXPECT_TRUE(receiver.add(frame(0), kStart));
  EXPECT_FALSE(receiver.add(frame(0), kStart));
  EXPECT_TRUE(receiver.add(frame(5), kStart));
  EXPECT_FALSE(receiver.add(frame(5), kStart));
  EXPECT_FALSE(receiver.add(frame(4), kStart));
  EXPECT_TRUE(receiver.add(frame(0xFFFFFFFF), kStart));
  EXPECT_FALSE(receiver.add(frame(6), kStart));  // no wrap-around
}

TEST(ScreenPacketReceiver, givesEveryOtherMessageRegardlessOfItsId) {
  ScreenPacketReceiver receiver;
  const auto message = [](const Bytes& bytes, std::uint32_t id) { return packets(bytes, id)[0]; };
  EXPECT_TRUE(receiver.add(message(videoFrameMessage(bytesOf("x"), true), 9), kStart));
  EXPECT_EQ(receiver.add(message(screenMessage(ScreenMessageType::stop), 3), kStart),
            screenMessage(ScreenMessageType::stop));
  EXPECT_TRUE(receiver.add(message(parameterSetMessage(bytesOf("s"), bytesOf("p")), 3), kStart));
  // and they do not count as delivered frames
  EXPECT_TRUE(receiver.add(message(screenMessage(ScreenMessageType::keyframeRequest), 50), kStart));
  EXPECT_TRUE(receiver.add(message(videoFrameMessage(bytesOf("x"), false), 10), kStart));
}

TEST(ScreenPacketReceiver, startsAnewAfterAReset) {
  ScreenPacketReceiver receiver;
  const auto cut = packets(videoFrameMessage(pattern(5000), true), 9);
  EXPECT_FALSE(receiver.add(cut[0], kStart));
  EXPECT_TRUE(receiver.add(cut[1], kStart));
  EXPECT_FALSE(receiver.add(packets(videoFrameMessage(pattern(5000), true), 10)[0], kStart));
  receiver.reset();
  EXPECT_FALSE(receiver.add(packets(videoFrameMessage(pattern(5000), true), 10)[1], kStart));
  receiver.reset();
  EXPECT_TRUE(receiver.add(packets(videoFrameMessage(bytesOf("x"), true), 1)[0], kStart));
}

}  // namespace
}  // namespace tevanto
