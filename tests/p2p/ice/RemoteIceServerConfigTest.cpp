#include "p2p/ice/RemoteIceServerConfig.h"

#include <gtest/gtest.h>

#include <string>

namespace tevanto {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using std::chrono::system_clock;

const RemoteIceServerConfig kStun{
    .urlStrings = {"stun:stun.example.org:19302"}, .username = {}, .credential = {}};
const RemoteIceServerConfig kTurn{
    .urlStrings = {"turn:turn.example.org:3478?transport=udp", "turns:turn.example.org"},
    .username = "1700000000:a",
    .credential = "c2VjcmV0"};

std::string nested(int levels) { return std::string(levels, '[') + std::string(levels, ']'); }

TEST(RemoteIceServerConfig, isATurnServerByTheBeginningOfAnyUrl) {
  const auto isTurn = [](std::vector<std::string> urls) {
    return isTURNServer({.urlStrings = std::move(urls), .username = {}, .credential = {}});
  };
  EXPECT_TRUE(isTurn({"turn:a"}));
  EXPECT_TRUE(isTurn({"turns:a"}));
  EXPECT_TRUE(isTurn({"stun:a", "turn:b"}));
  EXPECT_FALSE(isTurn({}));
  EXPECT_FALSE(isTurn({"stun:a", "turn", "turnx:a", " turn:a", "stun:turn:a", ""}));
  EXPECT_TRUE(hasTURNServer({kStun, kTurn}));
  EXPECT_FALSE(hasTURNServer({kStun, kStun}));
  EXPECT_FALSE(hasTURNServer({}));
}

TEST(RemoteIceServerConfig, writesItsMembersInOrderAndOmitsWhatIsAbsent) {
  EXPECT_EQ(
      encodeIceServers({kTurn, kStun}),
      R"([{"urls":["turn:turn.example.org:3478?transport=udp","turns:turn.example.org"],)"
      R"("username":"1700000000:a","credential":"c2VjcmV0"},{"urls":["stun:stun.example.org:19302"]}])");
  EXPECT_EQ(encodeIceServers({}), "[]");
  EXPECT_EQ(encodeIceServers({{}}), R"([{"urls":[]}])");
}

TEST(RemoteIceServerConfig, readsWhatItWrites) {
  for (const auto& servers : {std::vector<RemoteIceServerConfig>{}, {kStun}, {kTurn, kStun, {}}}) {
    EXPECT_EQ(decodeIceServers(encodeIceServers(servers)), servers);
  }
}

TEST(RemoteIceServerConfig, writesValidUtf8Always) {
  const auto text = encodeIceServers({{.urlStrings = {"turn:\xFF"}, .username = "\xC3", .credential = {}}});
  EXPECT_EQ(text, "[{\"urls\":[\"turn:\xEF\xBF\xBD\"],\"username\":\"\xEF\xBF\xBD\"}]");
  EXPECT_TRUE(decodeIceServers(text));
}

TEST(RemoteIceServerConfig, readsTheFieldsOwnNameWhereUrlsIsMissing) {
  const auto byField = decodeIceServers(R"([{"urlStrings":["turn:a"],"username":"u","credential":"p"}])");
  ASSERT_TRUE(byField);
  EXPECT_EQ(byField->front(),
            (RemoteIceServerConfig{.urlStrings = {"turn:a"}, .username = "u", .credential = "p"}));
  const auto both = decodeIceServers(R"([{"urlStrings":["turn:field"],"urls":["turn:key"]}])");
  ASSERT_TRUE(both);
  EXPECT_EQ(both->front().urlStrings, std::vector<std::string>{"turn:key"});
  const auto null = decodeIceServers(R"([{"urls":null,"urlStrings":["turn:field"]}])");
  ASSERT_TRUE(null);
  EXPECT_EQ(null->front().urlStrings, std::vector<std::string>{"turn:field"});
}

TEST(RemoteIceServerConfig, takesNullForAbsentAndIgnoresUnknownMembers) {
  const auto servers =
      decodeIceServers(R"( [{"x":{"urls":1},"urls":[],"username":null,"credential":null}] )");
  EXPECT_EQ(servers, (std::vector<RemoteIceServerConfig>{{}}));
}

TEST(RemoteIceServerConfig, isNothingWhenTheListIsNoSuchList) {
  for (const std::string text : {"", "null", "{}", "1", "[", "[{}]", "[null]", "[[]]", R"(["turn:a"])",
                                 R"([{"urls":"turn:a"}])", R"([{"urls":[1]}])", R"([{"urls":[null]}])",
                                 R"([{"urls":{},"urlStrings":["turn:a"]}])", R"([{"urls":[],"username":1}])",
                                 R"([{"urls":[],"credential":{}}])", R"([{"urls":[]},{"username":"u"}])",
                                 R"([{"urls":[]}] x)", "[{\"urls\":[\"turn:\xFF\"]}]", R"([],"list":[])"}) {
    EXPECT_FALSE(decodeIceServers(text)) << text;
  }
  EXPECT_TRUE(decodeIceServers(R"([{"urls":[],"x":)" + nested(30) + "}]"));
  EXPECT_FALSE(decodeIceServers(R"([{"urls":[],"x":)" + nested(40) + "}]"));
  EXPECT_FALSE(decodeIceServers(nested(100'000)));
}

TEST(RemoteIceServerConfig, isNothingWhenCutOffAnywhere) {
  const auto text = encodeIceServers({kTurn, kStun});
  for (std::size_t length = 0; length < text.size(); ++length) {
    EXPECT_FALSE(decodeIceServers(text.substr(0, length))) << length;
  }
}

TEST(RemoteIceServersResponse, holdsTheServersUnderIceServers) {
  const auto servers =
      decodeRemoteIceServersResponse(R"({"ttl":60,"iceServers":)" + encodeIceServers({kTurn, kStun}) + "}");
  EXPECT_EQ(servers, (std::vector{kTurn, kStun}));
  EXPECT_EQ(decodeRemoteIceServersResponse(R"({"iceServers":[]})"), std::vector<RemoteIceServerConfig>{});
}

TEST(RemoteIceServersResponse, isNothingWhenItIsNoSuchObject) {
  for (const std::string text :
       {"", "[]", "{}", "null", R"({"iceServers":null})", R"({"iceServers":{}})", R"({"iceServers":[{}]})",
        R"({"IceServers":[]})", R"({"iceServers":[]}])", "<html></html>"}) {
    EXPECT_FALSE(decodeRemoteIceServersResponse(text)) << text;
  }
}

TEST(BrokeredIceServers, countTheirDateInSecondsSince2001) {
  // 2023-11-14 22:13:20.5 UTC.
  const system_clock::time_point date{milliseconds(1'700'000'000'500)};
  const auto text = encodeBrokeredIceServers({{kTurn}, date});
  EXPECT_TRUE(text.starts_with(R"({"servers":[{"urls":["turn:turn.example.org)")) << text;
  const auto again = decodeBrokeredIceServers(text);
  ASSERT_TRUE(again);
  EXPECT_EQ(again->servers, std::vector{kTurn});
  EXPECT_EQ(std::chrono::round<milliseconds>(again->loadedAt), std::chrono::round<milliseconds>(date));

  const auto dateOf = [](const std::string& number) {
    const auto decoded = decodeBrokeredIceServers(R"({"servers":[],"loadedAt":)" + number + "}");
    return decoded ? std::optional(std::chrono::round<milliseconds>(decoded->loadedAt)) : std::nullopt;
  };
  EXPECT_EQ(dateOf("0"), system_clock::time_point(seconds(978'307'200)));
  EXPECT_EQ(dateOf("-978307200"), system_clock::time_point());
  EXPECT_EQ(dateOf("721692800.5"), date);
  EXPECT_EQ(dateOf("7.216928005E8"), date);
  for (const char* impossible : {"1e300", "-1e300", "8e9", "-9e9", "\"0\"", "null", "[]", "true"}) {
    EXPECT_FALSE(dateOf(impossible)) << impossible;
  }
}

TEST(BrokeredIceServers, areNothingWithoutServersOrDate) {
  for (const std::string text : {"", "[]", "{}", R"({"servers":[]})", R"({"loadedAt":0})",
                                 R"({"servers":{},"loadedAt":0})", R"({"servers":[{}],"loadedAt":0})"}) {
    EXPECT_FALSE(decodeBrokeredIceServers(text)) << text;
  }
}

}  // namespace
}  // namespace tevanto
