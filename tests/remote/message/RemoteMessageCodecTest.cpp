#include "remote/message/RemoteMessageCodec.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>

namespace tevanto {
namespace {

std::string encoded(const RemoteMessage& message) {
  std::string out;
  EXPECT_TRUE(encodeRemoteMessage(message, out));
  return out;
}

RemoteMessage withCommand(RemoteCommand command) {
  RemoteMessage message{.type = "command"};
  message.command = std::move(command);
  return message;
}

/// A message in which exactly one member besides "type" is set, and the JSON that stands for it.
struct MemberCase {
  const char* json;
  std::function<void(RemoteMessage&)> set;
};

const std::vector<MemberCase>& messageMembers() {
  using M = RemoteMessage;
  static const std::vector<MemberCase> cases = {
      {R"({"type":"t","protocolVersion":2})", [](M& m) { m.protocolVersion = 2; }},
      {R"({"type":"t","sessionNonce":"s"})", [](M& m) { m.sessionNonce = "s"; }},
      {R"({"type":"t","token":"s"})", [](M& m) { m.token = "s"; }},
      {R"({"type":"t","code":"012345"})", [](M& m) { m.code = "012345"; }},
      {R"({"type":"t","deviceName":"s"})", [](M& m) { m.deviceName = "s"; }},
      {R"({"type":"t","hostName":"s"})", [](M& m) { m.hostName = "s"; }},
      {R"({"type":"t","deviceID":"s"})", [](M& m) { m.deviceID = "s"; }},
      {R"({"type":"t","kind":"mac"})", [](M& m) { m.kind = "mac"; }},
      {R"({"type":"t","capabilities":["a","b"]})",
       [](M& m) {
         m.capabilities = {{"a", "b"}};
       }},
      {R"({"type":"t","capabilities":[]})", [](M& m) { m.capabilities.emplace(); }},
      {R"({"type":"t","command":{"type":"click"}})",
       [](M& m) { m.command = RemoteCommand{.type = "click"}; }},
      {R"({"type":"t","ok":true})", [](M& m) { m.ok = true; }},
      {R"({"type":"t","message":"s"})", [](M& m) { m.message = "s"; }},
      {R"({"type":"t","keepAwakeOn":false})", [](M& m) { m.keepAwakeOn = false; }},
      {R"({"type":"t","helperReady":true})", [](M& m) { m.helperReady = true; }},
      {R"({"type":"t","batteryPercent":80})", [](M& m) { m.batteryPercent = 80; }},
      {R"({"type":"t","volume":0.25})", [](M& m) { m.volume = 0.25; }},
      {R"({"type":"t","brightness":0.5})", [](M& m) { m.brightness = 0.5; }},
      {R"({"type":"t","muted":false})", [](M& m) { m.muted = false; }},
      {R"({"type":"t","apps":[{"name":"N","bundleId":"b"},{"name":"O","bundleId":"c","iconPNGBase64":"QQ==","installedDate":1.5}]})",
       [](M& m) {
         m.apps = {
             {RemoteAppInfo{.name = "N", .bundleId = "b", .iconPNGBase64 = {}, .installedDate = {}},
              RemoteAppInfo{.name = "O", .bundleId = "c", .iconPNGBase64 = "QQ==", .installedDate = 1.5}}};
       }},
      {R"({"type":"t","apps":[]})", [](M& m) { m.apps.emplace(); }},
      {R"({"type":"t","appsHash":"0000000000001505"})", [](M& m) { m.appsHash = "0000000000001505"; }},
  };
  return cases;
}

struct CommandCase {
  const char* json;
  std::function<void(RemoteCommand&)> set;
};

const std::vector<CommandCase>& commandMembers() {
  using C = RemoteCommand;
  static const std::vector<CommandCase> cases = {
      {R"("dx":1.5)", [](C& c) { c.dx = 1.5; }},
      {R"("dy":-2.25)", [](C& c) { c.dy = -2.25; }},
      {R"("clicks":2)", [](C& c) { c.clicks = 2; }},
      {R"("button":"right")", [](C& c) { c.button = "right"; }},
      {R"("key":"return")", [](C& c) { c.key = "return"; }},
      {R"("modifiers":["command","shift"])",
       [](C& c) {
         c.modifiers = {{RemoteModifier::command, RemoteModifier::shift}};
       }},
      {R"("modifiers":["option","control"])",
       [](C& c) {
         c.modifiers = {{RemoteModifier::option, RemoteModifier::control}};
       }},
      {R"("modifiers":[])", [](C& c) { c.modifiers.emplace(); }},
      {R"("text":"h\u00e9 \"\\\n\ud83d\ude00")", [](C& c) { c.text = "h\xC3\xA9 \"\\\n\xF0\x9F\x98\x80"; }},
      {R"("on":true)", [](C& c) { c.on = true; }},
      {R"("level":0.5)", [](C& c) { c.level = 0.5; }},
      {R"("appId":"org.example.Editor")", [](C& c) { c.appId = "org.example.Editor"; }},
      {R"("gesture":"missionControl")", [](C& c) { c.gesture = "missionControl"; }},
  };
  return cases;
}

TEST(RemoteMessageCodec, readsAndWritesEachMemberOfAMessage) {
  for (const auto& [json, set] : messageMembers()) {
    RemoteMessage expected{.type = "t"};
    set(expected);
    const auto decoded = decodeRemoteMessage(json);
    ASSERT_TRUE(decoded) << json;
    EXPECT_EQ(*decoded, expected) << json;
    EXPECT_EQ(encoded(expected), json);
  }
}

TEST(RemoteMessageCodec, readsAndWritesEachMemberOfACommand) {
  for (const auto& [json, set] : commandMembers()) {
    RemoteCommand command{.type = "c"};
    set(command);
    const auto expected = withCommand(command);
    const auto decoded =
        decodeRemoteMessage(R"({"type":"command","command":{"type":"c",)" + std::string(json) + "}}");
    ASSERT_TRUE(decoded) << json;
    EXPECT_EQ(*decoded, expected) << json;
    EXPECT_EQ(decodeRemoteMessage(encoded(expected)), expected) << json;
  }
}

TEST(RemoteMessageCodec, writesTheMembersOfACommandInOrder) {
  RemoteCommand all{.type = "c"};
  for (const auto& [json, set] : commandMembers()) set(all);
  EXPECT_EQ(encoded(withCommand(all)),
            R"({"type":"command","command":{"type":"c","dx":1.5,"dy":-2.25,"clicks":2,"button":"right",)"
            R"("key":"return","modifiers":[],"text":"h)"
            "\xC3\xA9"
            R"( \"\\\n)"
            "\xF0\x9F\x98\x80"
            R"(","on":true,"level":0.5,"appId":"org.example.Editor","gesture":"missionControl"}})");
}

TEST(RemoteMessageCodec, writesTheMembersOfAMessageInOrder) {
  RemoteMessage all{.type = "t"};
  for (const auto& [json, set] : messageMembers()) set(all);
  const auto json = encoded(all);
  std::size_t last = 0;
  for (const auto* key : {"type",    "protocolVersion", "sessionNonce", "token",
                          "code",    "deviceName",      "hostName",     "deviceID",
                          "kind",    "capabilities",    "command",      "ok",
                          "message", "keepAwakeOn",     "helperReady",  "batteryPercent",
                          "volume",  "brightness",      "muted",        "apps",
                          "appsHash"}) {
    const auto at = json.find("\"" + std::string(key) + "\":", last);
    ASSERT_NE(at, std::string::npos) << key;
    last = at;
  }
  EXPECT_EQ(decodeRemoteMessage(json), all);
}

TEST(RemoteMessageCodec, writesAMessageThatHoldsOnlyItsTypeAsOneMember) {
  EXPECT_EQ(encoded({.type = "pairRequest"}), R"({"type":"pairRequest"})");
  EXPECT_EQ(decodeRemoteMessage(R"({"type":"pairRequest"})"), (RemoteMessage{.type = "pairRequest"}));
}

TEST(RemoteMessageCodec, countsNullAsAbsent) {
  for (const auto* key : {"protocolVersion",
                          "sessionNonce",
                          "token",
                          "code",
                          "deviceName",
                          "hostName",
                          "deviceID",
                          "kind",
                          "capabilities",
                          "command",
                          "ok",
                          "message",
                          "keepAwakeOn",
                          "helperReady",
                          "batteryPercent",
                          "volume",
                          "brightness",
                          "muted",
                          "apps",
                          "appsHash"}) {
    EXPECT_EQ(decodeRemoteMessage(R"({"type":"t",")" + std::string(key) + R"(":null})"),
              (RemoteMessage{.type = "t"}))
        << key;
  }
  for (const auto* key :
       {"dx", "dy", "clicks", "button", "key", "modifiers", "text", "on", "level", "appId", "gesture"}) {
    EXPECT_EQ(
        decodeRemoteMessage(R"({"type":"t","command":{"type":"c",")" + std::string(key) + R"(":null}})"),
        (RemoteMessage{.type = "t", .command = RemoteCommand{.type = "c"}}))
        << key;
  }
}

TEST(RemoteMessageCodec, needsTheRequiredMembers) {
  for (const auto* json :
       {"{}", R"({"ok":true})", R"({"type":null})", R"({"type":"t","type":null})",
        R"({"type":"t","command":{}})", R"({"type":"t","command":{"type":null}})",
        R"({"type":"t","command":{"dx":1}})", R"({"type":"t","command":{"type":"a"},"command":{}})",
        R"({"type":"t","apps":[{}]})", R"({"type":"t","apps":[{"name":"n"}]})",
        R"({"type":"t","apps":[{"bundleId":"b"}]})",
        R"({"type":"t","apps":[{"name":"n","bundleId":"b"},{"name":"n"}]})",
        R"({"type":"t","apps":[{"name":null,"bundleId":"b"}]})", R"({"command":{"type":"a"}})",
        R"({"apps":[{"name":"n","bundleId":"b","type":"t"}]})"}) {
    EXPECT_FALSE(decodeRemoteMessage(json)) << json;
  }
}

/// Values of every JSON type; `own` are those that a member takes.
void expectOnly(const std::string& before, const std::string& after, std::initializer_list<std::string> own) {
  for (const std::string value :
       {"\"s\"", "\"2\"", "true", "2", "-3", "2.5", "2.0", "[]", "[1]", "[\"s\"]", "[\"shift\"]", "[null]",
        "[[]]", "[{}]", "{}", "{\"type\":\"c\"}", "[{\"name\":\"n\",\"bundleId\":\"b\"}]"}) {
    const bool taken = std::find(own.begin(), own.end(), value) != own.end();
    EXPECT_EQ(decodeRemoteMessage(before + value + after).has_value(), taken) << before << value << after;
  }
}

TEST(RemoteMessageCodec, takesNoValueOfAnotherType) {
  const auto strings = {std::string("\"s\""), std::string("\"2\"")};
  const auto integers = {std::string("2"), std::string("-3"), std::string("2.0")};
  const auto numbers = {std::string("2"), std::string("-3"), std::string("2.0"), std::string("2.5")};
  const auto member = [](const char* name) { return R"({"type":"t",")" + std::string(name) + "\":"; };
  expectOnly("{\"type\":", "}", strings);
  for (const auto* name :
       {"sessionNonce", "token", "code", "deviceName", "hostName", "deviceID", "kind", "message", "appsHash"})
    expectOnly(member(name), "}", strings);
  for (const auto* name : {"protocolVersion", "batteryPercent"}) expectOnly(member(name), "}", integers);
  for (const auto* name : {"volume", "brightness"}) expectOnly(member(name), "}", numbers);
  for (const auto* name : {"ok", "keepAwakeOn", "helperReady", "muted"})
    expectOnly(member(name), "}", {"true"});
  expectOnly(member("capabilities"), "}", {"[]", "[\"s\"]", "[\"shift\"]"});
  expectOnly(member("apps"), "}", {"[]", "[{\"name\":\"n\",\"bundleId\":\"b\"}]"});
  expectOnly(member("command"), "}", {"{\"type\":\"c\"}"});

  const auto argument = [](const char* name) {
    return R"({"type":"t","command":{"type":"c",")" + std::string(name) + "\":";
  };
  for (const auto* name : {"type", "button", "key", "text", "appId", "gesture"})
    expectOnly(argument(name), "}}", strings);
  for (const auto* name : {"dx", "dy", "level"}) expectOnly(argument(name), "}}", numbers);
  expectOnly(argument("clicks"), "}}", integers);
  expectOnly(argument("on"), "}}", {"true"});
  expectOnly(argument("modifiers"), "}}", {"[]", "[\"shift\"]"});

  const auto info = [](const char* name) {
    return R"({"type":"t","apps":[{"name":"n","bundleId":"b",")" + std::string(name) + "\":";
  };
  for (const auto* name : {"name", "bundleId", "iconPNGBase64"}) expectOnly(info(name), "}]}", strings);
  expectOnly(info("installedDate"), "}]}", numbers);
}

TEST(RemoteMessageCodec, failsOnAnUnknownModifier) {
  EXPECT_FALSE(decodeRemoteMessage(R"({"type":"t","command":{"type":"c","modifiers":["command","cmd"]}})"));
  EXPECT_FALSE(decodeRemoteMessage(R"({"type":"t","command":{"type":"c","modifiers":["Shift"]}})"));
  EXPECT_TRUE(decodeRemoteMessage(R"({"type":"t","command":{"type":"c","modifiers":["sh\u0069ft"]}})"));
}

TEST(RemoteMessageCodec, readsIntegersOnlyFromIntegralNumbers) {
  const auto version = [](const std::string& number) -> std::optional<std::int64_t> {
    const auto message = decodeRemoteMessage(R"({"type":"t","protocolVersion":)" + number + "}");
    return message ? message->protocolVersion : std::nullopt;
  };
  EXPECT_EQ(version("2"), 2);
  EXPECT_EQ(version("2.0"), 2);
  EXPECT_EQ(version("2e0"), 2);
  EXPECT_EQ(version("0.2E1"), 2);
  EXPECT_EQ(version("20e-1"), 2);
  EXPECT_EQ(version("-0"), 0);
  EXPECT_EQ(version("9223372036854775807"), std::numeric_limits<std::int64_t>::max());
  EXPECT_EQ(version("-9223372036854775808"), std::numeric_limits<std::int64_t>::min());
  EXPECT_EQ(version("-9223372036854775808.0"), std::numeric_limits<std::int64_t>::min());
  for (const auto* number : {"2.5", "-0.1", "1e-1", "9223372036854775808", "9223372036854775808.0", "1e19",
                             "1e300", "18446744073709551616", "-9223372036854775809000", "1e400"})
    EXPECT_FALSE(version(number)) << number;
}

TEST(RemoteMessageCodec, keepsNumbersExactly) {
  for (const double value : {0.1, 1.0 / 3.0, 1e-7, 1e21, 123456789.12345679, 5e-324, 1.7976931348623157e308,
                             -2.25, 9007199254740993.0, 0.30000000000000004, 8.41, 9.2233720368547758e18}) {
    const auto message = withCommand({.type = "c", .dx = value});
    const auto decoded = decodeRemoteMessage(encoded(message));
    ASSERT_TRUE(decoded) << value;
    EXPECT_EQ(decoded->command->dx, value);
  }
  const auto text = decodeRemoteMessage(
      R"({"type":"t","volume":0.1000000000000000055511151231257827021181583404541015625,"brightness":18446744073709551615})");
  ASSERT_TRUE(text);
  EXPECT_EQ(text->volume, 0.1);
  EXPECT_EQ(text->brightness, 18446744073709551615.0);
}

TEST(RemoteMessageCodec, refusesNumbersThatNoDoubleHolds) {
  EXPECT_FALSE(decodeRemoteMessage(R"({"type":"t","volume":1e400})"));
  EXPECT_FALSE(decodeRemoteMessage(R"({"type":"t","volume":-1e309})"));
  EXPECT_FALSE(decodeRemoteMessage(R"({"type":"t","volume":1)" + std::string(400, '0') + "}"));
  const auto tiny = decodeRemoteMessage(R"({"type":"t","volume":1e-400})");
  ASSERT_TRUE(tiny);
  EXPECT_EQ(tiny->volume, 0.0);
  for (const auto* number : {"NaN", "Infinity", "+1", "01", ".5", "1.", "1e", "0x10", "--1", "1_0"})
    EXPECT_FALSE(decodeRemoteMessage(R"({"type":"t","volume":)" + std::string(number) + "}")) << number;
}

TEST(RemoteMessageCodec, writesWellFormedUtf8AtTheEdgesOfItsRanges) {
  for (const std::string text : {"\x7F", "\xC2\x80", "\xDF\xBF", "\xE0\xA0\x80", "\xED\x9F\xBF",
                                 "\xEE\x80\x80", "\xEF\xBF\xBF", "\xF0\x90\x80\x80", "\xF4\x8F\xBF\xBF"}) {
    EXPECT_EQ(encoded({.type = text}), "{\"type\":\"" + text + "\"}");
    EXPECT_EQ(decodeRemoteMessage("{\"type\":\"" + text + "\"}")->type, text);
  }
}

TEST(RemoteMessageCodec, writesNoLineFeedAndEscapesControls) {
  std::string controls;
  for (char c = 0; c < 0x20; ++c) controls += c;
  const RemoteMessage message{.type = "t", .message = controls + "\"\\"};
  const auto json = encoded(message);
  for (const unsigned char c : json) EXPECT_GE(c, 0x20);
  EXPECT_EQ(decodeRemoteMessage(json), message);
}

TEST(RemoteMessageCodec, writesNoNumberThatIsNotFinite) {
  for (const double value : {std::nan(""), HUGE_VAL, -HUGE_VAL}) {
    std::string out = "kept";
    EXPECT_FALSE(encodeRemoteMessage({.type = "t", .volume = value}, out));
    EXPECT_FALSE(encodeRemoteMessage(withCommand({.type = "c", .dy = value}), out));
    EXPECT_EQ(out, "kept");
  }
}

TEST(RemoteMessageCodec, appendsToWhatIsThere) {
  std::string out = "before\n";
  ASSERT_TRUE(encodeRemoteMessage({.type = "t"}, out));
  EXPECT_EQ(out, "before\n{\"type\":\"t\"}");
}

}  // namespace
}  // namespace tevanto
