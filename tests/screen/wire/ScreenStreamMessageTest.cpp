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

TEST(ScreenStreamHello, decodesAllFourMembers) {
  const auto hello = decodeHello(
      bytesOf(R"({"token":"T","width":1170,"height":2532,"prefersLowBandwidth":true,"other":[{"a":null}]})"));
  ASSERT_TRUE(hello);
  EXPECT_EQ(*hello, (ScreenStreamHello{"T", 1170, 2532, true}));
}

TEST(ScreenStreamHello, isReadAsItIsWritten) {
  const ScreenStreamHello hello{"A \"quoted\" tökén", -1, INT64_MAX, false};
  const auto message = helloMessage(hello);
  EXPECT_EQ(screenMessageType(message), ScreenMessageType::hello);
  EXPECT_EQ(decodeHello(std::span(message).subspan(1)), hello);
}

TEST(ScreenStreamHello, needsEveryMemberWithItsType) {
  const char* const kBad[] = {
      "",
      "x",
      "null",
      "[]",
      "\"text\"",
      "{}",
      R"({"width":1,"height":1,"prefersLowBandwidth":true})",
      R"({"token":"T","height":1,"prefersLowBandwidth":true})",
      R"({"token":"T","width":1,"prefersLowBandwidth":true})",
      R"({"token":"T","width":1,"height":1})",
      R"({"token":1,"width":1,"height":1,"prefersLowBandwidth":true})",
      R"({"token":null,"width":1,"height":1,"prefersLowBandwidth":true})",
      R"({"token":"T","width":"1","height":1,"prefersLowBandwidth":true})",
      R"({"token":"T","width":1.5,"height":1,"prefersLowBandwidth":true})",
      R"({"token":"T","width":true,"height":1,"prefersLowBandwidth":true})",
      R"({"token":"T","width":null,"height":1,"prefersLowBandwidth":true})",
      R"({"token":"T","width":9223372036854775808,"height":1,"prefersLowBandwidth":true})",
      R"({"token":"T","width":1e300,"height":1,"prefersLowBandwidth":true})",
      R"({"token":"T","width":1,"height":[],"prefersLowBandwidth":true})",
      R"({"token":"T","width":1,"height":1,"prefersLowBandwidth":1})",
      R"({"token":"T","width":1,"height":1,"prefersLowBandwidth":"true"})",
      R"({"token":"T","width":1,"height":1,"prefersLowBandwidth":null})",
      R"({"token":"T","width":1,"height":1,"prefersLowBandwidth":true)",
      R"({"token":"T","width":1,"height":1,"prefersLowBandwidth":true} x)",
      "{\"token\":\"\xFF\",\"width\":1,\"height\":1,\"prefersLowBandwidth\":true}",
  };
  for (const auto* text : kBad) EXPECT_FALSE(decodeHello(bytesOf(text))) << text;
}

TEST(ScreenStreamHello, anIntegerMayBeWrittenWithAFraction) {
  EXPECT_EQ(decodeHello(bytesOf(R"({"token":"T","width":1280.0,"height":1e3,"prefersLowBandwidth":false})")),
            (ScreenStreamHello{"T", 1280, 1000, false}));
}

TEST(ScreenStreamHello, deepNestingAndOverlongTextFail) {
  const auto nested = [](std::size_t depth) {
    return bytesOf(R"({"token":"T","width":1,"height":1,"prefersLowBandwidth":true,"x":)" +
                   std::string(depth, '[') + std::string(depth, ']') + "}");
  };
  EXPECT_TRUE(decodeHello(nested(20)));
  EXPECT_FALSE(decodeHello(nested(40)));
  EXPECT_FALSE(decodeHello(nested(30'000)));
  const auto padded = [](std::size_t size) {
    std::string text = R"({"token":"T","width":1,"height":1,"prefersLowBandwidth":true})";
    return bytesOf(text + std::string(size - text.size(), ' '));
  };
  EXPECT_TRUE(decodeHello(padded(kMaxHelloBytes)));
  EXPECT_FALSE(decodeHello(padded(kMaxHelloBytes + 1)));
}

TEST(ScreenStreamHello, everyTruncationFails) {
  const auto message = helloMessage({"token", 1170, 2532, true});
  const auto body = std::span(message).subspan(1);
  for (std::size_t size = 0; size < body.size(); ++size) EXPECT_FALSE(decodeHello(body.first(size))) << size;
}

}  // namespace
}  // namespace tevanto
