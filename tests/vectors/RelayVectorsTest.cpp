#include <gtest/gtest.h>

#include <algorithm>
#include <boost/json/value.hpp>
#include <chrono>
#include <map>
#include <optional>
#include <string>

#include "relay/CloseReason.h"
#include "relay/HttpAnswer.h"
#include "relay/RelayTarget.h"
#include "relay/TurnCredentials.h"
#include "tests/vectors/Vectors.h"

namespace tevanto::test {
namespace {

namespace json = boost::json;
using relay::CloseReason;

std::optional<std::string> textIn(const json::value& value, std::string_view name) {
  const auto& object = value.as_object();
  return object.contains(name) ? std::optional(textOf(object.at(name))) : std::nullopt;
}

void expectRefusal(const relay::RelayTarget& target, const json::value& close) {
  EXPECT_EQ(close.at("code").as_int64(), relay::closeCodeOf(CloseReason::badRole).code);
  if (textOf(close.at("text")) == relay::closeCodeOf(CloseReason::badRole).text) {
    EXPECT_FALSE(target.validRole());
    return;
  }
  EXPECT_EQ(textOf(close.at("text")), relay::closeCodeOf(CloseReason::badRoom).text);
  EXPECT_TRUE(target.validRole());
  EXPECT_FALSE(target.validRoom());
}

TEST(RelayServerVectors, holdTargets) {
  for (const auto& vector : vectorsOf("relay.json", "target")) {
    SCOPED_TRACE(vector.name());
    const auto target = relay::parseRelayTarget(vector.bytes());
    ASSERT_EQ(target.has_value(), vector.result() != "bad request");
    if (!target) continue;
    EXPECT_EQ(target->path, textOf(vector.value().at("path")));
    EXPECT_EQ(target->room, textIn(vector.value(), "room"));
    EXPECT_EQ(target->role, textIn(vector.value(), "role"));
    if (vector.result() == "connection closed") {
      expectRefusal(*target, vector.at("close"));
    } else {
      EXPECT_EQ(target->validRoom(), target->room);
      EXPECT_TRUE(target->validRole());
    }
  }
}

TEST(RelayServerVectors, holdTheRoomsThatClientsAskFor) {
  for (const auto& vector : vectorsOf("relay.json", "address")) {
    if (!vector.result().empty()) continue;
    SCOPED_TRACE(vector.name());
    const auto address = vector.bytes();
    const auto target = relay::parseRelayTarget(std::string_view(address).substr(address.find("/connect")));
    ASSERT_TRUE(target);
    EXPECT_EQ(target->validRoom(), textIn(vector.value(), "room"));
    EXPECT_EQ(target->role, textIn(vector.value(), "role"));
  }
}

TEST(RelayServerVectors, holdCloseCodes) {
  const std::map<std::string, CloseReason> reasons = {{"goingAway", CloseReason::goingAway},
                                                      {"badRoom", CloseReason::badRoom},
                                                      {"badRole", CloseReason::badRole},
                                                      {"tooManyConnections", CloseReason::tooManyConnections},
                                                      {"tooManyMessages", CloseReason::tooManyMessages},
                                                      {"silent", CloseReason::silent},
                                                      {"replaced", CloseReason::replaced}};
  const auto vectors = vectorsOf("relay.json", "close");
  EXPECT_EQ(vectors.size(), reasons.size());
  for (const auto& vector : vectors) {
    SCOPED_TRACE(vector.name());
    const auto closed = relay::closeCodeOf(reasons.at(textOf(vector.value().at("reason"))));
    EXPECT_EQ(closed.code, vector.value().at("code").as_int64());
    EXPECT_EQ(closed.text, textOf(vector.value().at("text")));
    // The payload of a close frame: the code in two bytes, then the text.
    const std::string payload = {static_cast<char>(closed.code >> 8), static_cast<char>(closed.code & 0xFF)};
    EXPECT_EQ(payload + std::string(closed.text), vector.bytes());
  }
}

TEST(RelayServerVectors, holdAnswers) {
  for (const auto& vector : vectorsOf("relay.json", "request")) {
    SCOPED_TRACE(vector.name());
    const auto& request = vector.at("request");
    relay::TurnOptions turn;
    if (request.at("handsOutCredentials").as_bool()) turn.secret = "secret";
    relay::RelayMetrics metrics;
    relay::RelayRequest asked;
    asked.method = textOf(request.at("method"));
    const auto answer = relay::answerTo(asked, textOf(request.at("path")), turn, metrics, {});
    EXPECT_EQ(answer.status, vector.value().at("status").as_int64());
    EXPECT_EQ(answer.body, textIn(vector.value(), "body").value_or(answer.body));
    EXPECT_EQ(answer.contentType, textIn(vector.value(), "contentType").value_or(answer.contentType));
    std::map<std::string, std::string> headers;
    for (const auto& [name, value] : vector.value().at("headers").as_object())
      headers.emplace(name, textOf(value));
    EXPECT_EQ((std::map<std::string, std::string>(answer.headers.begin(), answer.headers.end())), headers);
  }
}

TEST(RelayServerVectors, holdTurnCredentials) {
  for (const auto& vector : vectorsOf("relay.json", "turnCredentials")) {
    SCOPED_TRACE(vector.name());
    const auto& value = vector.value().as_object();
    relay::TurnOptions options;
    options.secret = textOf(value.at("secret"));
    options.urls = textsOf(value.at("urls"));
    options.stunUrls = textsOf(value.at("stunUrls"));
    options.lifetime = std::chrono::seconds(value.at("lifetime").as_int64());
    options.userName = textOf(value.at("userName"));
    const std::chrono::sys_seconds now(std::chrono::seconds(value.at("now").as_int64()));
    EXPECT_EQ(relay::turnCredentialsJson(options, now), vector.bytes());
  }
}

}  // namespace
}  // namespace tevanto::test
