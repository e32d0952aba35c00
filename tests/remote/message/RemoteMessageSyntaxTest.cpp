#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "remote/message/RemoteMessageCodec.h"

namespace tevanto {
namespace {

std::string encodedLine(const RemoteMessage& message) {
  std::string out;
  EXPECT_TRUE(encodeRemoteMessage(message, out));
  return out;
}

TEST(RemoteMessageSyntax, ignoresUnknownMembersOfAnyShape) {
  for (const std::string value :
       {"1", "\"s\"", "\"\\u0041\\n\"", "null", "true", "1.5", "18446744073709551615", "[]", "{}",
        R"([1,[2,{"type":5}],{"command":{"type":7}}])",
        R"({"type":1,"command":[],"a":{"b":[{"c":null}]}})"}) {
    EXPECT_EQ(
        decodeRemoteMessage(R"({"future":)" + value + R"(,"type":"t","other":)" + value + R"(,"ok":true})"),
        (RemoteMessage{.type = "t", .ok = true}))
        << value;
    EXPECT_EQ(decodeRemoteMessage(R"({"type":"t","command":{"future":)" + value + R"(,"type":"c"}})"),
              (RemoteMessage{.type = "t", .command = RemoteCommand{.type = "c"}}))
        << value;
    EXPECT_TRUE(
        decodeRemoteMessage(R"({"type":"t","apps":[{"name":"n","x":)" + value + R"(,"bundleId":"b"}]})"))
        << value;
  }
  // The members of one record are unknown to another.
  EXPECT_EQ(decodeRemoteMessage(R"({"type":"t","dx":"s","name":[]})"), (RemoteMessage{.type = "t"}));
  EXPECT_EQ(decodeRemoteMessage(R"({"type":"t","Type":1,"types":2,"typ":3,"":4})"),
            (RemoteMessage{.type = "t"}));
}

TEST(RemoteMessageSyntax, letsTheLastOfSeveralMembersCount) {
  EXPECT_EQ(decodeRemoteMessage(R"({"type":"a","type":"b","ok":true,"ok":false})"),
            (RemoteMessage{.type = "b", .ok = false}));
  EXPECT_EQ(decodeRemoteMessage(R"({"type":"a","token":"x","token":null})"), (RemoteMessage{.type = "a"}));
  EXPECT_EQ(decodeRemoteMessage(R"({"type":null,"type":"a"})"), (RemoteMessage{.type = "a"}));
  EXPECT_EQ(decodeRemoteMessage(R"({"type":"a","command":{"type":"x","dx":1},"command":{"type":"y"}})"),
            (RemoteMessage{.type = "a", .command = RemoteCommand{.type = "y"}}));
  EXPECT_EQ(decodeRemoteMessage(R"({"type":"a","capabilities":["x"],"capabilities":["y"]})"),
            (RemoteMessage{.type = "a", .capabilities = {{"y"}}}));
  // Each occurrence must have its type all the same.
  EXPECT_FALSE(decodeRemoteMessage(R"({"type":1,"type":"a"})"));
}

TEST(RemoteMessageSyntax, readsStringsWithEscapesAnywhere) {
  EXPECT_EQ(decodeRemoteMessage(R"({"\u0074ype":"\u0061\/b","to\u006ben":"\ud83d\ude00"})"),
            (RemoteMessage{.type = "a/b", .token = "\xF0\x9F\x98\x80"}));
  const auto nul = decodeRemoteMessage(R"({"type":"a\u0000b"})");
  ASSERT_TRUE(nul);
  EXPECT_EQ(nul->type, std::string("a\0b", 3));
  EXPECT_EQ(encodedLine(*nul), R"({"type":"a\u0000b"})");
}

TEST(RemoteMessageSyntax, acceptsWhiteSpaceAroundAndNothingElse) {
  EXPECT_TRUE(decodeRemoteMessage(" \t{ \"type\" :\r\n \"t\" } \r"));
  for (const std::string json : {"",
                                 " ",
                                 "\r",
                                 "null",
                                 "1",
                                 "\"type\"",
                                 "[]",
                                 R"([{"type":"t"}])",
                                 R"({"type":"t"}{"type":"t"})",
                                 R"({"type":"t"},)",
                                 R"({"type":"t",})",
                                 R"({'type':'t'})",
                                 R"({type:"t"})",
                                 R"({"type":"t"} x)",
                                 R"({"type":"t")",
                                 R"({"type":"t","ok":tru})",
                                 R"({"type":"t"/* comment */})",
                                 "{\"type\":\"t\nu\"}",
                                 "\xEF\xBB\xBF{\"type\":\"t\"}",
                                 R"({"type":"\x41"})",
                                 R"({"type":"\u12"})"})
    EXPECT_FALSE(decodeRemoteMessage(json)) << json;
  EXPECT_FALSE(decodeRemoteMessage(std::string_view("{\"type\":\"t\"}\0", 13)));
}

TEST(RemoteMessageSyntax, failsAtEveryTruncation) {
  const std::string json = encodedLine({.type = "command",
                                        .command = RemoteCommand{.type = "keyPress",
                                                                 .dx = 1.5,
                                                                 .modifiers = {{RemoteModifier::shift}},
                                                                 .text = "\xC3\xA9\xF0\x9F\x98\x80\n"}});
  ASSERT_TRUE(decodeRemoteMessage(json));
  for (std::size_t length = 0; length < json.size(); ++length)
    EXPECT_FALSE(decodeRemoteMessage(std::string_view(json).substr(0, length))) << length;
}

const std::vector<std::string>& illFormedUtf8() {
  static const std::vector<std::string> texts = {"\x80",              // a continuation alone
                                                 "\xC3",              // cut off
                                                 "\xC0\xAF",          // overlong
                                                 "\xE0\x80\xAF",      // overlong
                                                 "\xF0\x80\x80\xAF",  // overlong
                                                 "\xED\xA0\x80",      // a surrogate
                                                 "\xF4\x90\x80\x80",  // above U+10FFFF
                                                 "\xF5\x80\x80\x80",
                                                 "\xFF",
                                                 "\xE2\x82",
                                                 "\xF0\x9F\x98",
                                                 "a\xC3(",
                                                 "\xF1\x80\x80(",
                                                 "\xE1\x80("};
  return texts;
}

TEST(RemoteMessageSyntax, refusesIllFormedUtf8) {
  for (const auto& text : illFormedUtf8()) {
    EXPECT_FALSE(decodeRemoteMessage("{\"type\":\"" + text + "\"}"));
    EXPECT_FALSE(decodeRemoteMessage("{\"type\":\"t\",\"unknown\":\"" + text + "\"}"));
    EXPECT_FALSE(decodeRemoteMessage("{\"type\":\"t\",\"" + text + "\":1}"));
    std::string out = "kept";
    EXPECT_FALSE(encodeRemoteMessage({.type = "t", .message = "before" + text}, out));
    EXPECT_EQ(out, "kept");
  }
  EXPECT_FALSE(decodeRemoteMessage(R"({"type":"\ud83d"})"));
  EXPECT_FALSE(decodeRemoteMessage(R"({"type":"\ud83dx"})"));
  EXPECT_FALSE(decodeRemoteMessage(R"({"type":"\ude00"})"));
  EXPECT_FALSE(decodeRemoteMessage(R"({"type":"\ud83d\ud83d"})"));
}

TEST(RemoteMessageSyntax, failsOnNestingThatIsTooDeepAndNeverExhaustsTheStack) {
  const auto nested = [](std::size_t depth) {
    return R"({"type":"t","x":)" + std::string(depth, '[') + std::string(depth, ']') + "}";
  };
  EXPECT_TRUE(decodeRemoteMessage(nested(31)));
  EXPECT_FALSE(decodeRemoteMessage(nested(32)));
  EXPECT_FALSE(decodeRemoteMessage(nested(5'000'000)));
  std::string objects = R"({"type":"t")";
  for (int i = 0; i < 1'000'000; ++i) objects += R"(,"a":{"b":[{"type":1)";
  EXPECT_FALSE(decodeRemoteMessage(objects));
  EXPECT_FALSE(decodeRemoteMessage(std::string(5'000'000, '[')));
  EXPECT_FALSE(decodeRemoteMessage(std::string(5'000'000, '{')));
}

TEST(RemoteMessageSyntax, unfoldsNoListWithoutBounds) {
  const auto listOf = [](const std::string& head, const std::string& element, std::size_t count) {
    auto text = head;
    for (std::size_t i = 0; i < count; ++i) text += (i == 0 ? "" : ",") + element;
    return text + "]";
  };
  const auto capabilities = [&](std::size_t count) {
    return listOf(R"({"type":"t","capabilities":[)", R"("")", count) + "}";
  };
  const auto apps = [&](std::size_t count) {
    return listOf(R"({"type":"t","apps":[)", R"({"name":"","bundleId":""})", count) + "}";
  };
  const auto modifiers = [&](std::size_t count) {
    return listOf(R"({"type":"t","command":{"type":"c","modifiers":[)", R"("shift")", count) + "}}";
  };
  const auto unknown = [&](std::size_t count) { return listOf(R"({"type":"t","x":[)", "1", count) + "}"; };
  EXPECT_EQ(decodeRemoteMessage(capabilities(65536))->capabilities->size(), 65536u);
  EXPECT_FALSE(decodeRemoteMessage(capabilities(65537)));
  EXPECT_EQ(decodeRemoteMessage(apps(65536))->apps->size(), 65536u);
  EXPECT_FALSE(decodeRemoteMessage(apps(65537)));
  EXPECT_EQ(decodeRemoteMessage(modifiers(65536))->command->modifiers->size(), 65536u);
  EXPECT_FALSE(decodeRemoteMessage(modifiers(65537)));
  EXPECT_TRUE(decodeRemoteMessage(unknown(65537))) << "what is ignored takes no memory";
}

}  // namespace
}  // namespace tevanto
