#include "p2p/channels/ControlFrames.h"

#include <gtest/gtest.h>

#include "tests/support/peers/ScreenBytes.h"

namespace tevanto {
namespace {

using test::Bytes;
using test::bytesOf;
using test::copyOf;
using test::pattern;
using Kind = ControlFrame::Kind;

TEST(ControlFrames, areToldByTheirFirstByte) {
  for (int first = 0; first < 256; ++first) {
    SCOPED_TRACE(first);
    const auto bytes = bytesOf({first, 0xAA, 0xBB});
    const auto frame = classifyControlFrame(bytes);
    const auto whole = bytes;
    const auto untagged = bytesOf({0xAA, 0xBB});
    if (first == '{' || first == '[') {
      EXPECT_EQ(frame.kind, Kind::message);
      EXPECT_EQ(copyOf(frame.body), whole);
    } else if (first == 0) {
      EXPECT_EQ(frame.kind, Kind::message);
      EXPECT_EQ(copyOf(frame.body), untagged);
    } else if (first == 1) {
      EXPECT_EQ(frame.kind, Kind::chunk);
      EXPECT_EQ(copyOf(frame.body), whole);
    } else if (first == 2) {
      EXPECT_EQ(frame.kind, Kind::screenPayload);
      EXPECT_EQ(copyOf(frame.body), untagged);
    } else {
      EXPECT_EQ(frame.kind, Kind::unknown);
    }
  }
}

TEST(ControlFrames, mayBeEmptyOrATagAlone) {
  EXPECT_EQ(classifyControlFrame({}).kind, Kind::empty);
  const auto tag = bytesOf({2});
  EXPECT_EQ(classifyControlFrame(tag).kind, Kind::screenPayload);
  EXPECT_TRUE(classifyControlFrame(tag).body.empty());
}

TEST(ControlFrames, aScreenMessageFollowsItsTag) {
  EXPECT_EQ(screenPayloadFrame(bytesOf({1, 9})), bytesOf({2, 1, 9}));
}

TEST(MessageChunk, laysOutItsHeaderBigEndian) {
  const auto frame = bytesOf({1, 1, 2, 3, 4, 5, 6, 7, 8, 0xAA, 0xBB});
  const auto chunk = parseMessageChunk(frame);
  ASSERT_TRUE(chunk);
  EXPECT_EQ(chunk->messageID, 0x01020304u);
  EXPECT_EQ(chunk->index, 0x0506);
  EXPECT_EQ(chunk->count, 0x0708);
  EXPECT_EQ(copyOf(chunk->payload), bytesOf({0xAA, 0xBB}));
}

TEST(MessageChunk, needsAPayloadACountAndAnIndexBelowIt) {
  const auto frame = [](int index, int count, std::size_t payloadBytes) {
    auto bytes = bytesOf({1, 0, 0, 0, 1, index >> 8, index & 0xFF, count >> 8, count & 0xFF});
    bytes.resize(9 + payloadBytes);
    return bytes;
  };
  const auto whole = frame(0, 1, 1);
  EXPECT_TRUE(parseMessageChunk(whole));
  for (std::size_t size = 0; size <= 9; ++size) {
    EXPECT_FALSE(parseMessageChunk(std::span(whole).first(size))) << size;
  }
  EXPECT_FALSE(parseMessageChunk(frame(0, 0, 1)));
  EXPECT_TRUE(parseMessageChunk(frame(1, 2, 1)));
  EXPECT_FALSE(parseMessageChunk(frame(2, 2, 1)));
  EXPECT_TRUE(parseMessageChunk(frame(65'534, 65'535, 1)));
  EXPECT_FALSE(parseMessageChunk(frame(65'535, 65'535, 1)));
  auto otherTag = whole;
  otherTag[0] = std::byte{2};
  EXPECT_FALSE(parseMessageChunk(otherTag));
}

TEST(MessageChunk, isCutAtSixtyThousandBytes) {
  struct Row {
    std::size_t documentBytes;
    std::size_t count;
    std::size_t lastBytes;
  };
  for (const auto& row : {Row{1, 1, 1}, Row{60'000, 1, 60'000}, Row{60'001, 2, 1}, Row{120'000, 2, 60'000},
                          Row{250'000, 5, 10'000}}) {
    SCOPED_TRACE(row.documentBytes);
    const auto document = pattern(row.documentBytes);
    EXPECT_EQ(messageChunkCount(document.size()), row.count);
    Bytes joined;
    std::size_t index = 0;
    EXPECT_TRUE(forEachMessageChunk(document, 0xCAFE0001, [&](auto frame) {
      const auto chunk = parseMessageChunk(frame);
      EXPECT_TRUE(chunk);
      EXPECT_EQ(chunk->messageID, 0xCAFE0001u);
      EXPECT_EQ(chunk->index, index++);
      EXPECT_EQ(chunk->count, row.count);
      EXPECT_EQ(chunk->payload.size(), index < row.count ? 60'000u : row.lastBytes);
      joined.insert(joined.end(), chunk->payload.begin(), chunk->payload.end());
      return true;
    }));
    EXPECT_EQ(index, row.count);
    EXPECT_EQ(joined, document);
  }
}

TEST(MessageChunk, countsFitInSixteenBits) {
  EXPECT_EQ(messageChunkCount(0), std::nullopt);
  EXPECT_EQ(messageChunkCount(65'535ull * 60'000), 65'535);
  EXPECT_EQ(messageChunkCount(65'535ull * 60'000 + 1), std::nullopt);
  EXPECT_EQ(messageChunkCount(SIZE_MAX), std::nullopt);
  EXPECT_FALSE(forEachMessageChunk({}, 1, [](auto) { return true; }));
}

TEST(MessageChunk, cuttingEndsWhereOneIsRefused) {
  int seen = 0;
  EXPECT_FALSE(forEachMessageChunk(Bytes(300'000), 1, [&](auto) { return ++seen < 2; }));
  EXPECT_EQ(seen, 2);
}

}  // namespace
}  // namespace tevanto
