#include "relay/TurnCredentials.h"

#include <gtest/gtest.h>

#include <boost/json.hpp>

namespace tevanto::relay {
namespace {

using namespace std::chrono_literals;
const std::chrono::sys_seconds kNow{1'700'000'000s};

// The expected texts come from: printf %s NAME | openssl dgst -sha1 -hmac SECRET -binary | base64
TEST(TurnCredentials, signTheExpiry) {
  const auto made = TurnCredentials::make("north", kNow, "");
  EXPECT_EQ(made.username, "1700000000");
  EXPECT_EQ(made.credential, "CWyHi3zCeWqXBir9thl4m+iZPRY=");
}

TEST(TurnCredentials, signTheNameToo) {
  const auto made = TurnCredentials::make("north", kNow, "tevanto");
  EXPECT_EQ(made.username, "1700000000:tevanto");
  EXPECT_EQ(made.credential, "t1/ecPDhWj8jUQU1aCivEWEsEHs=");
}

TEST(TurnCredentials, takeASecretLongerThanABlockOfTheHash) {
  EXPECT_EQ(TurnCredentials::make(std::string(100, 'k'), kNow, "").credential,
            "2eT7m0AIwRBrLHI7Ixhvk4d7CgI=");
}

TEST(TurnCredentials, areToldWithTheServersUrls) {
  TurnOptions options;
  options.secret = "north";
  options.urls = {"turn:turn.example.org:3478?transport=udp", "turns:turn.example.org:5349"};
  options.lifetime = 1h;
  const auto json = boost::json::parse(turnCredentialsJson(options, kNow));
  const auto made = TurnCredentials::make("north", kNow + 1h, "");
  EXPECT_EQ(json,
            boost::json::value(
                {{"iceServers",
                  {{{"urls", {"turn:turn.example.org:3478?transport=udp", "turns:turn.example.org:5349"}},
                    {"username", made.username},
                    {"credential", made.credential}}}}}));
}

TEST(TurnCredentials, stunServersStandFirstAndHaveNone) {
  TurnOptions options;
  options.secret = "north";
  options.urls = {"turn:turn.example.org"};
  options.stunUrls = {"stun:stun.example.org"};
  const auto json = boost::json::parse(turnCredentialsJson(options, kNow));
  const auto& servers = json.at("iceServers").as_array();
  ASSERT_EQ(servers.size(), 2u);
  EXPECT_EQ(servers[0], boost::json::value({{"urls", boost::json::array{"stun:stun.example.org"}}}));
  EXPECT_EQ(servers[1].at("urls"), boost::json::value(boost::json::array{"turn:turn.example.org"}));
}

}  // namespace
}  // namespace tevanto::relay
