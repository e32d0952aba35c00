#include "p2p/channels/IncomingChunks.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <random>

#include "tests/support/peers/ScreenBytes.h"

namespace tevanto {
namespace {

using namespace std::chrono_literals;
using test::Bytes;
using test::bytesOf;
using test::pattern;

constexpr IncomingChunks::TimePoint kStart{1h};
constexpr std::size_t kOverhead = IncomingChunks::kBytesPerChunk;

MessageChunk chunk(std::uint32_t id, std::uint16_t index, std::uint16_t count,
                   std::span<const std::byte> payload) {
  return {id, index, count, payload};
}

TEST(IncomingChunks, joinInIndexOrderWhateverTheOrderOfArrival) {
  const auto document = pattern(7000);
  std::vector<std::uint16_t> order(7);
  std::iota(order.begin(), order.end(), 0);
  std::mt19937 random(3);
  for (int round = 0; round < 50; ++round) {
    IncomingChunks chunks;
    for (std::size_t i = 0; i < order.size(); ++i) {
      const auto payload = std::span(document).subspan(order[i] * 1000u, 1000);
      const auto whole = chunks.add(chunk(1, order[i], 7, payload), kStart);
      ASSERT_EQ(whole.has_value(), i == 6);
      if (whole) {
        ASSERT_EQ(*whole, document);
      }
    }
    EXPECT_EQ(chunks.pendingMessages(), 0u);
    std::shuffle(order.begin(), order.end(), random);
  }
}

TEST(IncomingChunks, ofSeveralMessagesMayInterleave) {
  IncomingChunks chunks;
  EXPECT_FALSE(chunks.add(chunk(1, 0, 2, bytesOf("a")), kStart));
  EXPECT_FALSE(chunks.add(chunk(2, 0, 2, bytesOf("c")), kStart));
  EXPECT_EQ(chunks.add(chunk(1, 1, 2, bytesOf("b")), kStart), bytesOf("ab"));
  EXPECT_EQ(chunks.add(chunk(2, 1, 2, bytesOf("d")), kStart), bytesOf("cd"));
}

TEST(IncomingChunks, aSingleOneIsAWholeMessage) {
  IncomingChunks chunks;
  EXPECT_EQ(chunks.add(chunk(1, 0, 1, bytesOf("x")), kStart), bytesOf("x"));
}

TEST(IncomingChunks, aRepeatedOneReplacesTheStoredOne) {
  IncomingChunks chunks;
  EXPECT_FALSE(chunks.add(chunk(1, 0, 2, bytesOf("old")), kStart));
  EXPECT_FALSE(chunks.add(chunk(1, 0, 2, bytesOf("newer")), kStart));
  EXPECT_EQ(chunks.add(chunk(1, 1, 2, bytesOf("!")), kStart), bytesOf("newer!"));
}

TEST(IncomingChunks, oneThatDisagreesAboutTheCountDropsItsMessage) {
  IncomingChunks chunks;
  EXPECT_FALSE(chunks.add(chunk(1, 0, 2, bytesOf("a")), kStart));
  EXPECT_FALSE(chunks.add(chunk(1, 1, 3, bytesOf("b")), kStart));
  EXPECT_EQ(chunks.pendingMessages(), 0u);
  EXPECT_FALSE(chunks.add(chunk(1, 1, 2, bytesOf("b")), kStart));
  EXPECT_EQ(chunks.add(chunk(1, 0, 2, bytesOf("c")), kStart), bytesOf("cb"));
}

TEST(IncomingChunks, areGoneAtThirtySecondsExactly) {
  for (const auto age : {29'999ms, 30'000ms, 30'001ms}) {
    IncomingChunks chunks;
    EXPECT_FALSE(chunks.add(chunk(1, 0, 2, bytesOf("a")), kStart));
    EXPECT_EQ(chunks.add(chunk(1, 1, 2, bytesOf("b")), kStart + age).has_value(), age < 30s) << age.count();
  }
}

TEST(IncomingChunks, ageFromTheFirstOfTheirMessage) {
  IncomingChunks chunks;
  EXPECT_FALSE(chunks.add(chunk(1, 0, 3, bytesOf("a")), kStart));
  EXPECT_FALSE(chunks.add(chunk(1, 1, 3, bytesOf("b")), kStart + 20s));
  chunks.expire(kStart + 29s);
  EXPECT_EQ(chunks.pendingMessages(), 1u);
  chunks.expire(kStart + 30s);
  EXPECT_EQ(chunks.pendingMessages(), 0u);
}

TEST(IncomingChunks, beyondSixtyFourMessagesTheOldestGoes) {
  IncomingChunks chunks;
  for (std::uint32_t id = 0; id < 64; ++id) {
    EXPECT_FALSE(chunks.add(chunk(100 - id, 0, 2, bytesOf("a")), kStart + std::chrono::milliseconds(id)));
  }
  EXPECT_EQ(chunks.pendingMessages(), 64u);
  EXPECT_FALSE(chunks.add(chunk(7, 0, 2, bytesOf("a")), kStart + 1s));
  EXPECT_EQ(chunks.pendingMessages(), 64u);
  EXPECT_FALSE(chunks.add(chunk(100, 1, 2, bytesOf("b")), kStart + 1s));  // the first: begins anew
  EXPECT_TRUE(chunks.add(chunk(98, 1, 2, bytesOf("b")), kStart + 1s));
  EXPECT_TRUE(chunks.add(chunk(7, 1, 2, bytesOf("b")), kStart + 1s));
}

TEST(IncomingChunks, holdNoMoreThanSixteenMebibytesAndDropTheOldest) {
  constexpr std::size_t kQuarter = 4 * 1024 * 1024;
  const Bytes quarter(kQuarter - kOverhead);
  IncomingChunks chunks;
  for (std::uint32_t id = 0; id < 4; ++id) {
    EXPECT_FALSE(chunks.add(chunk(10 - id, 0, 2, quarter), kStart + std::chrono::seconds(id)));
  }
  EXPECT_EQ(chunks.pendingBytes(), 16u * 1024 * 1024);
  EXPECT_FALSE(chunks.add(chunk(50, 0, 2, bytesOf("a")), kStart + 5s));
  EXPECT_EQ(chunks.pendingMessages(), 4u);
  EXPECT_EQ(chunks.pendingBytes(), 3 * kQuarter + kOverhead + 1);
  EXPECT_TRUE(chunks.add(chunk(9, 1, 2, bytesOf("b")), kStart + 6s));
  EXPECT_FALSE(chunks.add(chunk(10, 1, 2, bytesOf("b")), kStart + 6s));
}

TEST(IncomingChunks, aMessageThatOutgrowsTheBoundAloneIsDroppedAndTheOthersBeforeIt) {
  const Bytes half(8 * 1024 * 1024 - kOverhead);
  IncomingChunks chunks;
  EXPECT_FALSE(chunks.add(chunk(1, 0, 3, half), kStart));
  EXPECT_FALSE(chunks.add(chunk(1, 1, 3, half), kStart));
  EXPECT_EQ(chunks.pendingMessages(), 1u);
  EXPECT_FALSE(chunks.add(chunk(1, 2, 3, bytesOf("x")), kStart));
  EXPECT_EQ(chunks.pendingMessages(), 0u);
}

TEST(IncomingChunks, tinyOnesCountForWhatTheyCost) {
  IncomingChunks chunks;
  std::size_t most = 0;
  for (std::uint32_t id = 0; id < 8; ++id) {
    for (std::uint16_t index = 0; index < 65'534; ++index) {
      EXPECT_FALSE(chunks.add(chunk(id, index, 65'535, bytesOf({1})), kStart + std::chrono::seconds(id)));
    }
    most = std::max(most, chunks.pendingBytes());
  }
  EXPECT_LE(most, 16u * 1024 * 1024);
  EXPECT_EQ(chunks.pendingMessages(), 3u);
}

TEST(IncomingChunks, repeatsCannotOutgrowTheBound) {
  IncomingChunks chunks;
  const Bytes payload(60'000);
  EXPECT_FALSE(chunks.add(chunk(1, 0, 2, payload), kStart));
  for (int i = 0; i < 1000; ++i) {
    EXPECT_FALSE(chunks.add(chunk(1, 0, 2, payload), kStart));
    ASSERT_LE(chunks.pendingBytes(), 16u * 1024 * 1024);
  }
}

TEST(IncomingChunks, clearForgetsThem) {
  IncomingChunks chunks;
  EXPECT_FALSE(chunks.add(chunk(1, 0, 2, bytesOf("a")), kStart));
  chunks.clear();
  EXPECT_EQ(chunks.pendingMessages(), 0u);
}

}  // namespace
}  // namespace tevanto
