#include "screen/wire/ScreenStreamMessage.h"

#include <gtest/gtest.h>

#include "tests/support/peers/ScreenBytes.h"

namespace tevanto {
namespace {

using test::Bytes;
using test::bytesOf;
using test::copyOf;
using test::pattern;

TEST(ScreenStreamMessage, parameterSetsLieBehindTheirLengths) {
  EXPECT_EQ(parameterSetMessage(bytesOf({0x67, 1, 2}), bytesOf({0x68, 3})),
            bytesOf({0x01, 0, 3, 0x67, 1, 2, 0, 2, 0x68, 3}));
  const auto largest = parameterSetMessage(pattern(65'535), pattern(256));
  ASSERT_EQ(largest.size(), 1u + 2 + 65'535 + 2 + 256);
  EXPECT_EQ(largest[1], std::byte{0xFF});
  EXPECT_EQ(largest[2], std::byte{0xFF});
  EXPECT_EQ(largest[3 + 65'535], std::byte{0x01});
  EXPECT_EQ(largest[4 + 65'535], std::byte{0x00});
}

TEST(ScreenStreamMessageDeathTest, anOverlongParameterSetEndsTheProcess) {
  EXPECT_DEATH(parameterSetMessage(Bytes(65'536), Bytes(1)), "parameter set");
  EXPECT_DEATH(parameterSetMessage(Bytes(1), Bytes(65'536)), "parameter set");
}

TEST(ScreenStreamMessage, aVideoFrameSaysWhetherItIsAKeyFrame) {
  EXPECT_EQ(videoFrameMessage(bytesOf({0, 0, 0, 1, 0x65}), true), bytesOf({0x02, 0x01, 0, 0, 0, 1, 0x65}));
  EXPECT_EQ(videoFrameMessage(bytesOf({0, 0, 0, 1, 0x41}), false), bytesOf({0x02, 0x00, 0, 0, 0, 1, 0x41}));
}

TEST(ScreenStreamMessage, theTypeIsTheFirstByte) {
  EXPECT_FALSE(screenMessageType({}));
  for (int byte = 0; byte < 256; ++byte) {
    const auto type = screenMessageType(bytesOf({byte, 0x10}));
    const bool isKnown = byte == 0x01 || byte == 0x02 || byte == 0x10 || byte == 0x11 || byte == 0x12;
    ASSERT_EQ(type.has_value(), isKnown) << byte;
    if (type) {
      EXPECT_EQ(static_cast<int>(*type), byte);
    }
  }
}

TEST(ScreenStreamMessage, thePhoneReadsWhatTheComputerWrites) {
  const auto message = parameterSetMessage(bytesOf("sps"), bytesOf("pps!"));
  const auto body = std::span(message).subspan(1);
  const auto sets = decodeParameterSets(body);
  ASSERT_TRUE(sets);
  EXPECT_EQ(copyOf(sets->sps), bytesOf("sps"));
  EXPECT_EQ(copyOf(sets->pps), bytesOf("pps!"));
  for (std::size_t size = 0; size < body.size(); ++size)
    EXPECT_FALSE(decodeParameterSets(body.first(size))) << size;

  const auto frame = videoFrameMessage(bytesOf("nal"), true);
  const auto decoded = decodeVideoFrame(std::span(frame).subspan(1));
  ASSERT_TRUE(decoded);
  EXPECT_TRUE(decoded->isKeyframe);
  EXPECT_EQ(copyOf(decoded->data), bytesOf("nal"));
  EXPECT_FALSE(decodeVideoFrame(bytesOf({0, 7}))->isKeyframe);
  EXPECT_FALSE(decodeVideoFrame({}));
}

}  // namespace
}  // namespace tevanto
