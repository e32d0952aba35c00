#include "screen/wire/FrameExtractor.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "tests/support/peers/ScreenBytes.h"

namespace tevanto {
namespace {

using test::Bytes;
using test::bytesOf;
using test::frameText;
using test::pattern;

/// Takes everything and remembers it.
struct Collector {
  FrameExtractor extractor;
  std::vector<Bytes> frames;

  FrameExtractor::Outcome take(std::span<const std::byte> bytes) {
    return extractor.feed(bytes, [this](std::span<const std::byte> payload) {
      frames.push_back(test::copyOf(payload));
      return true;
    });
  }
};

TEST(FrameExtractor, cutsTheSameFramesAtEverySplitPoint) {
  const std::vector<Bytes> expected{pattern(5, 1), {}, pattern(300, 2), pattern(1, 3), {}, pattern(17, 4)};
  std::string text;
  for (const auto& payload : expected) text += frameText(payload);
  const auto stream = bytesOf(text);
  for (std::size_t first = 0; first <= stream.size(); ++first) {
    for (const std::size_t second : {first, (first + stream.size()) / 2, stream.size()}) {
      Collector collector;
      const auto all = std::span<const std::byte>(stream);
      collector.take(all.first(first));
      collector.take(all.subspan(first, second - first));
      EXPECT_EQ(collector.take(all.subspan(second)), FrameExtractor::Outcome::wantsMore);
      ASSERT_EQ(collector.frames, expected) << first << " " << second;
      ASSERT_EQ(collector.extractor.bufferedBytes(), 0u);
    }
  }
}

TEST(FrameExtractor, cutsTheSameFramesByteByByte) {
  const std::vector<Bytes> expected{pattern(300), {}, pattern(2)};
  std::string text;
  for (const auto& payload : expected) text += frameText(payload);
  Collector collector;
  for (const auto byte : bytesOf(text)) collector.take({&byte, 1});
  EXPECT_EQ(collector.frames, expected);
}

TEST(FrameExtractor, handsOnTheCompleteFramesAndKeepsTheBeginningOfTheNext) {
  Collector collector;
  const auto text = frameText(bytesOf("one")) + frameText(bytesOf("two")) + frameText(bytesOf("three"));
  collector.take(bytesOf(text.substr(0, text.size() - 1)));
  EXPECT_EQ(collector.frames, (std::vector<Bytes>{bytesOf("one"), bytesOf("two")}));
  EXPECT_EQ(collector.extractor.bufferedBytes(), 4u + 4);
  collector.take(bytesOf(text.substr(text.size() - 1)));
  EXPECT_EQ(collector.frames.back(), bytesOf("three"));
}

TEST(FrameExtractor, aZeroLengthIsAnEmptyFrame) {
  Collector collector;
  EXPECT_EQ(collector.take(bytesOf({0, 0, 0, 0})), FrameExtractor::Outcome::wantsMore);
  EXPECT_EQ(collector.frames, std::vector<Bytes>{Bytes{}});
}

TEST(FrameExtractor, eightMebibytesAreAcceptedAndOneMoreIsNot) {
  Collector exact;
  EXPECT_EQ(exact.take(bytesOf({0x00, 0x80, 0x00, 0x00})), FrameExtractor::Outcome::wantsMore);
  EXPECT_EQ(exact.extractor.bufferedBytes(), 4u);
  const auto body = pattern(8'388'608);
  exact.take(body);
  ASSERT_EQ(exact.frames.size(), 1u);
  EXPECT_EQ(exact.frames[0], body);

  Collector oversized;
  EXPECT_EQ(oversized.take(bytesOf({0x00, 0x80, 0x00, 0x01, 1, 2, 3})), FrameExtractor::Outcome::oversized);
  EXPECT_EQ(oversized.extractor.bufferedBytes(), 0u);
  EXPECT_TRUE(oversized.frames.empty());

  Collector split;
  split.take(bytesOf({0xFF, 0xFF}));
  EXPECT_EQ(split.take(bytesOf({0xFF, 0xFF, 9})), FrameExtractor::Outcome::oversized);
  EXPECT_EQ(split.extractor.bufferedBytes(), 0u);
}

TEST(FrameExtractor, framesBeforeAnOversizedOneStillArrive) {
  Collector collector;
  EXPECT_EQ(collector.take(bytesOf({0, 0, 0, 1, 7, 0xFF, 0, 0, 0})), FrameExtractor::Outcome::oversized);
  EXPECT_EQ(collector.frames, std::vector<Bytes>{bytesOf({7})});
}

/// Receives as a socket does: into the extractor's room when it offers some, else `step` bytes beside it.
std::size_t receiveAll(Collector& collector, std::span<const std::byte> stream, std::size_t step) {
  std::size_t inRooms = 0;
  while (!stream.empty()) {
    const auto room = collector.extractor.room(step);
    const auto part = stream.first(std::min(stream.size(), room.bytes.empty() ? step : room.bytes.size()));
    stream = stream.subspan(part.size());
    if (room.bytes.empty()) {
      collector.take(part);
      continue;
    }
    std::copy(part.begin(), part.end(), room.bytes.begin());
    collector.extractor.feedFromRoom(part.size(), [&](std::span<const std::byte> payload) {
      collector.frames.push_back(test::copyOf(payload));
      return true;
    });
    inRooms += part.size();
  }
  return inRooms;
}

TEST(FrameExtractor, cutsTheSameFramesThroughItsRooms) {
  const std::vector<Bytes> expected{
      pattern(5, 1), pattern(200'000, 2), {}, pattern(70'000, 3), pattern(32'768, 4)};
  std::string text;
  for (const auto& payload : expected) text += frameText(payload);
  for (const std::size_t step : {1000u, 4096u, 65'536u}) {
    Collector collector;
    EXPECT_GT(receiveAll(collector, bytesOf(text), step), 130'000u);
    ASSERT_EQ(collector.frames, expected) << step;
    EXPECT_EQ(collector.extractor.bufferedBytes(), 0u);
  }
}

TEST(FrameExtractor, offersRoomForALargeRestOnlyAndNoMoreThanIsMissing) {
  Collector collector;
  EXPECT_TRUE(collector.extractor.room(65'536).bytes.empty());
  collector.take(bytesOf({0x00, 0x01, 0x00}));
  EXPECT_TRUE(collector.extractor.room(65'536).bytes.empty());
  collector.take(bytesOf({0x00}));
  EXPECT_EQ(collector.extractor.room(100'000).bytes.size(), 65'536u);
  EXPECT_EQ(collector.extractor.room(1000).bytes.size(), 1000u);
  collector.take(Bytes(65'536 - 32'767));
  EXPECT_TRUE(collector.extractor.room(65'536).bytes.empty());
}

TEST(FrameExtractor, theHandlerStopsItInItsRoomToo) {
  FrameExtractor extractor;
  const auto text = bytesOf(frameText(pattern(40'000)));
  const auto stop = [](auto) { return false; };
  extractor.feed(std::span(text).first(4), stop);
  ASSERT_EQ(extractor.room(65'536).bytes.size(), 40'000u);
  EXPECT_EQ(extractor.feedFromRoom(39'999, stop), FrameExtractor::Outcome::wantsMore);
  EXPECT_EQ(extractor.feed(std::span(text).last(1), stop), FrameExtractor::Outcome::stopped);
  EXPECT_EQ(extractor.bufferedBytes(), 0u);
}

TEST(FrameExtractor, theHandlerStopsIt) {
  FrameExtractor extractor;
  int seen = 0;
  const auto outcome = extractor.feed(bytesOf(frameText(bytesOf("a")) + frameText(bytesOf("b")) + "rest"),
                                      [&](auto) { return ++seen < 1; });
  EXPECT_EQ(outcome, FrameExtractor::Outcome::stopped);
  EXPECT_EQ(seen, 1);
  EXPECT_EQ(extractor.bufferedBytes(), 0u);
}

}  // namespace
}  // namespace tevanto
