#include "relay/HttpAnswer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tevanto::relay {
namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::Pair;

class HttpAnswerTest : public testing::Test {
 protected:
  HttpAnswer ask(const std::string& path, const std::string& method = "GET") {
    RelayRequest request;
    request.method = method;
    return answerTo(request, path, turn, metrics,
                    std::chrono::sys_seconds{std::chrono::seconds{1'700'000'000}});
  }

  TurnOptions turn;
  RelayMetrics metrics;
};

TEST_F(HttpAnswerTest, isWell) {
  EXPECT_EQ(ask("/healthz").status, 200u);
  EXPECT_EQ(ask("/healthz").body, "ok\n");
  EXPECT_EQ(ask("/healthz", "HEAD").status, 200u);
}

TEST_F(HttpAnswerTest, showsItsMetrics) {
  metrics.joins = 7;
  const auto answer = ask("/metrics");
  EXPECT_EQ(answer.status, 200u);
  EXPECT_EQ(answer.contentType, "text/plain; version=0.0.4; charset=utf-8");
  EXPECT_THAT(answer.body, HasSubstr("\ntevanto_relay_joins_total 7\n"));
}

TEST_F(HttpAnswerTest, handsOutCredentialsOnlyWithASecret) {
  const auto refused = ask("/turn-credentials");
  EXPECT_EQ(refused.status, 404u);
  EXPECT_EQ(refused.body, "This relay hands out no TURN credentials.\n");
  EXPECT_EQ(metrics.turnCredentials, 0u);
  turn.secret = "north";
  turn.urls = {"turn:turn.example.org"};
  turn.lifetime = std::chrono::seconds(60);
  const auto answer = ask("/turn-credentials");
  EXPECT_EQ(answer.status, 200u);
  EXPECT_EQ(answer.contentType, "application/json");
  EXPECT_THAT(answer.headers, Contains(Pair("Cache-Control", "no-store")));
  EXPECT_THAT(answer.body, HasSubstr("\"username\":\"1700000060\""));
  EXPECT_EQ(metrics.turnCredentials, 1u);
}

TEST_F(HttpAnswerTest, asksForAnUpgradeAtTheDoor) {
  const auto answer = ask("/connect");
  EXPECT_EQ(answer.status, 426u);
  EXPECT_THAT(answer.headers, Contains(Pair("Upgrade", "websocket")));
}

TEST_F(HttpAnswerTest, knowsNoOtherPathsAndMethods) {
  EXPECT_EQ(ask("/").status, 404u);
  EXPECT_EQ(ask("/healthz/").status, 404u);
  const auto refused = ask("/healthz", "POST");
  EXPECT_EQ(refused.status, 405u);
  EXPECT_THAT(refused.headers, Contains(Pair("Allow", "GET, HEAD")));
}

}  // namespace
}  // namespace tevanto::relay
