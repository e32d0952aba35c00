#include "screen/wire/ScreenStreamHello.h"

#include <gtest/gtest.h>

#include "screen/wire/ScreenStreamMessage.h"
#include "tests/support/peers/ScreenBytes.h"

namespace tevanto {
namespace {

using test::bytesOf;

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
