#include "p2p/signaling/SignalMessage.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace tevanto {
namespace {

SignalMessage fullMessage() {
  return {.type = "answer",
          .sdp = "v=0\r\n",
          .candidate = "candidate:1 1 udp 1 192.0.2.1 9 typ host",
          .sdpMid = "0",
          .sdpMLineIndex = 0,
          .candidates = {{{.candidate = "c1", .sdpMid = "audio", .sdpMLineIndex = 3},
                          {.candidate = "c2", .sdpMid = {}, .sdpMLineIndex = {}}}}};
}

TEST(SignalMessage, namesTheRolesAsTheRelayDoes) {
  EXPECT_EQ(toString(SignalRole::mac), "mac");
  EXPECT_EQ(toString(SignalRole::phone), "phone");
}

TEST(SignalMessage, writesItsMembersInOrder) {
  EXPECT_EQ(encodeSignalMessage(fullMessage()),
            R"({"type":"answer","sdp":"v=0\r\n","candidate":"candidate:1 1 udp 1 192.0.2.1 9 typ host",)"
            R"("sdpMid":"0","sdpMLineIndex":0,)"
            R"("candidates":[{"candidate":"c1","sdpMid":"audio","sdpMLineIndex":3},{"candidate":"c2"}]})");
}

TEST(SignalMessage, omitsWhatIsAbsent) {
  EXPECT_EQ(encodeSignalMessage({.type = "hello"}), R"({"type":"hello"})");
  SignalMessage offer{.type = "offer"};
  offer.candidates.emplace();
  EXPECT_EQ(encodeSignalMessage(offer), R"({"type":"offer","candidates":[]})");
}

TEST(SignalMessage, readsWhatItWrites) {
  EXPECT_EQ(decodeSignalMessage(encodeSignalMessage(fullMessage())), fullMessage());
  for (const char* type : {"hello", "offer", "answer", "ice", "bye", "", "something else", "ü\"\\\n"}) {
    const SignalMessage message{.type = type};
    EXPECT_EQ(decodeSignalMessage(encodeSignalMessage(message)), message) << type;
  }
}

TEST(SignalMessage, writesValidUtf8Always) {
  EXPECT_EQ(encodeSignalMessage({.type = "offer", .sdp = "a\xFFz"}),
            "{\"type\":\"offer\",\"sdp\":\"a\xEF\xBF\xBDz\"}");
}

TEST(SignalMessage, takesNullForAbsentAndIgnoresUnknownMembers) {
  const auto message = decodeSignalMessage(
      R"( {"v":[1,{"x":null}],"sdp":null,"sdpMid":null,"sdpMLineIndex":null,"candidate":null,"candidates":null,"type":"bye"} )");
  EXPECT_EQ(message, SignalMessage{.type = "bye"});
  const auto candidates = decodeSignalMessage(
      R"({"type":"offer","candidates":[{"candidate":"c","sdpMid":null,"usernameFragment":7}]})");
  ASSERT_TRUE(candidates && candidates->candidates);
  EXPECT_EQ(candidates->candidates->at(0).candidate, "c");
  EXPECT_EQ(candidates->candidates->at(0).sdpMid, std::nullopt);
}

TEST(SignalMessage, takesOnlyIntegersOf32Bits) {
  const auto index = [](const std::string& number) {
    const auto message = decodeSignalMessage(R"({"type":"ice","sdpMLineIndex":)" + number + "}");
    return message ? message->sdpMLineIndex : std::nullopt;
  };
  EXPECT_EQ(index("0"), 0);
  EXPECT_EQ(index("1.0"), 1);
  EXPECT_EQ(index("2e1"), 20);
  EXPECT_EQ(index("2147483647"), 2147483647);
  EXPECT_EQ(index("-2147483648"), std::numeric_limits<std::int32_t>::min());
  for (const char* number : {"2147483648", "-2147483649", "0.5", "1e99", "18446744073709551615",
                             "9223372036854775808", "true", "\"1\""}) {
    EXPECT_EQ(index(number), std::nullopt) << number;
  }
}

TEST(SignalMessage, refusesWhatIsNoSuchMessage) {
  for (const char* text : {"",
                           " ",
                           "null",
                           "[]",
                           "\"hello\"",
                           "{}",
                           "{",
                           R"({"type":"hello")",
                           R"({"type":"hello"}x)",
                           R"({"type":null})",
                           R"({"type":1})",
                           R"({"type":"a","sdp":1})",
                           R"({"type":"a","sdp":{}})",
                           R"({"type":"a","candidate":[]})",
                           R"({"type":"a","sdpMid":0})",
                           R"({"type":"a","candidates":{}})",
                           R"({"type":"a","candidates":[null]})",
                           R"({"type":"a","candidates":["c"]})",
                           R"({"type":"a","candidates":[{}]})",
                           R"({"type":"a","candidates":[{"candidate":null}]})",
                           R"({"type":"a","candidates":[{"candidate":"c","sdpMid":1}]})",
                           R"({"type":"a","candidates":[{"candidate":"c","sdpMLineIndex":1.5}]})",
                           "{\"type\":\"a\xFF\"}",
                           R"({"type":"\ud800"})",
                           R"({"Type":"hello"})"}) {
    EXPECT_EQ(decodeSignalMessage(text), std::nullopt) << text;
  }
}

TEST(SignalMessage, refusesEveryTruncation) {
  const auto whole = encodeSignalMessage(fullMessage());
  for (std::size_t size = 0; size < whole.size(); ++size) {
    EXPECT_EQ(decodeSignalMessage(std::string_view(whole).substr(0, size)), std::nullopt) << size;
  }
}

TEST(SignalMessage, refusesDeepNesting) {
  const auto nested = [](std::size_t depth) {
    return R"({"type":"a","x":)" + std::string(depth, '[') + std::string(depth, ']') + "}";
  };
  EXPECT_TRUE(decodeSignalMessage(nested(20)));
  EXPECT_FALSE(decodeSignalMessage(nested(40)));
  EXPECT_FALSE(decodeSignalMessage(nested(100'000)));
}

}  // namespace
}  // namespace tevanto
