#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <boost/json.hpp>

#include "relay/TurnCredentials.h"
#include "tests/relay/RawWebSocket.h"
#include "tests/relay/RelayProcess.h"
#include "tests/support/programs/Eventually.h"
#include "tests/support/programs/TemporaryFolder.h"

namespace tevanto::relay {
namespace {

using test::RawWebSocket;
using test::RelayProcess;
using testing::HasSubstr;
using testing::StartsWith;
using tevanto::test::eventually;

std::string connectTarget(const std::string& room, const std::string& role) {
  return "/connect?room=" + room + "&role=" + role;
}

std::string bodyOf(const std::string& answer) {
  const auto end = answer.find("\r\n\r\n");
  return end == std::string::npos ? "" : answer.substr(end + 4);
}

TEST(RelayProgram, passesTextBetweenTheTwoRolesAsItIsAndInOrder) {
  const RelayProcess relay;
  RawWebSocket mac(relay.port(), connectTarget("a", "mac"));
  RawWebSocket phone(relay.port(), connectTarget("a", "phone"));
  ASSERT_TRUE(mac.isOpen());
  ASSERT_TRUE(phone.isOpen());
  ASSERT_TRUE(eventually([&] { return relay.metric("members{role=\"phone\"}") == 1; }));
  const std::string odd = "{ \"type\" :\t\"offer\", \"sdp\":\"\xC3\xA9\\u00e9\\/\", \"more\": [1.0, null] } ";
  mac.sendText(odd);
  for (int i = 0; i < 100; ++i)
    mac.sendText("{\"type\":\"ice\",\"sdpMLineIndex\":" + std::to_string(i) + "}");
  EXPECT_EQ(phone.receiveMessage(), odd);
  for (int i = 0; i < 100; ++i)
    ASSERT_EQ(phone.receiveMessage(), "{\"type\":\"ice\",\"sdpMLineIndex\":" + std::to_string(i) + "}");
  phone.sendText("{\"type\":\"bye\"}");
  EXPECT_EQ(mac.receiveMessage(), "{\"type\":\"bye\"}");
}

TEST(RelayProgram, keepsTheKindOfAMessageAndJoinsItsFragments) {
  const RelayProcess relay;
  RawWebSocket mac(relay.port(), connectTarget("a", "mac"));
  RawWebSocket phone(relay.port(), connectTarget("a", "phone"));
  ASSERT_TRUE(eventually([&] { return relay.metric("members{role=\"phone\"}") == 1; }));
  mac.sendFrame(RawWebSocket::kBinary, std::string("\0\xFF\x01", 3));
  mac.sendFrame(RawWebSocket::kText, "{\"type\":", false);
  mac.sendFrame(RawWebSocket::kContinuation, "\"hello\"}");
  const auto binary = phone.receive();
  ASSERT_TRUE(binary);
  EXPECT_EQ(binary->opcode, RawWebSocket::kBinary);
  EXPECT_EQ(binary->payload, std::string("\0\xFF\x01", 3));
  const auto text = phone.receive();
  ASSERT_TRUE(text);
  EXPECT_EQ(text->opcode, RawWebSocket::kText);
  EXPECT_EQ(text->payload, "{\"type\":\"hello\"}");
}

TEST(RelayProgram, dropsAMessageToNobody) {
  const RelayProcess relay;
  RawWebSocket mac(relay.port(), connectTarget("a", "mac"));
  RawWebSocket elsewhere(relay.port(), connectTarget("b", "phone"));
  mac.sendText("lost");
  ASSERT_TRUE(eventually([&] { return relay.metric("messages_to_nobody_total") == 1; }));
  RawWebSocket phone(relay.port(), connectTarget("a", "phone"));
  ASSERT_TRUE(eventually([&] { return relay.metric("members{role=\"phone\"}") == 2; }));
  mac.sendText("heard");
  EXPECT_EQ(phone.receiveMessage(), "heard");
}

TEST(RelayProgram, letsTheNewestMemberReplaceTheOlderOne) {
  const RelayProcess relay;
  RawWebSocket phone(relay.port(), connectTarget("a", "phone"));
  RawWebSocket older(relay.port(), connectTarget("a", "mac"));
  ASSERT_TRUE(eventually([&] { return relay.metric("members{role=\"mac\"}") == 1; }));
  RawWebSocket newer(relay.port(), connectTarget("a", "mac"));
  const auto close = older.receiveClose();
  ASSERT_TRUE(close);
  EXPECT_EQ(close->closeCode(), 4001);
  EXPECT_EQ(close->closeText(), "replaced by a newer connection");
  phone.sendText("to the newest");
  EXPECT_EQ(newer.receiveMessage(), "to the newest");
  older.socket().close();
  newer.sendText("still here");
  EXPECT_EQ(phone.receiveMessage(), "still here");
}

TEST(RelayProgram, carries500Rooms) {
  const RelayProcess relay({"--max-connections-per-address", "0"});
  std::vector<std::pair<RawWebSocket, RawWebSocket>> rooms;
  for (int i = 0; i < 500; ++i) {
    const auto room = "room" + std::to_string(i);
    rooms.emplace_back(RawWebSocket(relay.port(), connectTarget(room, "mac")),
                       RawWebSocket(relay.port(), connectTarget(room, "phone")));
  }
  ASSERT_TRUE(eventually([&] { return relay.metric("members{role=\"phone\"}") == 500; }));
  EXPECT_EQ(relay.metric("rooms"), 500);
  for (int round = 0; round < 3; ++round) {
    for (std::size_t i = 0; i < rooms.size(); ++i) {
      rooms[i].first.sendText("offer " + std::to_string(i) + "/" + std::to_string(round));
      rooms[i].second.sendText("answer " + std::to_string(i) + "/" + std::to_string(round));
    }
  }
  for (int round = 0; round < 3; ++round) {
    for (std::size_t i = 0; i < rooms.size(); ++i) {
      const auto suffix = " " + std::to_string(i) + "/" + std::to_string(round);
      ASSERT_EQ(rooms[i].second.receiveMessage(), "offer" + suffix);
      ASSERT_EQ(rooms[i].first.receiveMessage(), "answer" + suffix);
    }
  }
  rooms.clear();
  EXPECT_TRUE(eventually([&] { return relay.metric("rooms") == 0; }));
  EXPECT_TRUE(eventually([&] { return relay.metric("connections") == 1; }));  // the one that asks
}

TEST(RelayProgram, endsCleanlyOnSigtermAndTellsItsClients) {
  RelayProcess relay;
  RawWebSocket mac(relay.port(), connectTarget("a", "mac"));
  RawWebSocket phone(relay.port(), connectTarget("a", "phone"));
  const auto unfinished = tevanto::test::RawSocket::connectTo(relay.port());
  ASSERT_TRUE(eventually([&] { return relay.metric("members{role=\"phone\"}") == 1; }));
  relay.process().signal(SIGTERM);
  for (auto* member : {&mac, &phone}) {
    const auto close = member->receiveClose();
    ASSERT_TRUE(close);
    EXPECT_EQ(close->closeCode(), 1001);
    EXPECT_EQ(close->closeText(), "the relay is going away");
    member->sendFrame(RawWebSocket::kClose, close->payload);
  }
  EXPECT_TRUE(unfinished.waitForEnd());
  EXPECT_EQ(relay.process().wait(), 0);
}

TEST(RelayProgram, endsThoughAClientDoesNotAnswer) {
  RelayProcess relay;
  RawWebSocket mac(relay.port(), connectTarget("a", "mac"));
  ASSERT_TRUE(eventually([&] { return relay.metric("members{role=\"mac\"}") == 1; }));
  relay.process().signal(SIGTERM);
  EXPECT_EQ(relay.process().wait(), 0);
  const auto close = mac.receiveClose();
  ASSERT_TRUE(close);
  EXPECT_EQ(close->closeCode(), 1001);
}

TEST(RelayProgram, handsOutCredentialsForTheTurnServer) {
  const tevanto::test::TemporaryFolder folder;
  std::ofstream(folder / "secret") << "north\n";
  const RelayProcess relay({"--turn-secret-file", folder / "secret", "--turn-url",
                            "turn:turn.example.org:3478", "--turn-url", "turns:turn.example.org:5349",
                            "--turn-lifetime", "3600", "--turn-user", "tevanto"});
  const auto before = std::time(nullptr);
  const auto answer = relay.ask("/turn-credentials");
  EXPECT_THAT(answer, StartsWith("HTTP/1.1 200 OK\r\n"));
  EXPECT_THAT(answer, HasSubstr("Content-Type: application/json\r\n"));
  const auto json = boost::json::parse(bodyOf(answer));
  const auto& servers = json.at("iceServers").as_array();
  ASSERT_EQ(servers.size(), 1u);
  EXPECT_EQ(servers[0].at("urls"),
            (boost::json::value{"turn:turn.example.org:3478", "turns:turn.example.org:5349"}));
  const std::string username(servers[0].at("username").as_string());
  const auto expiry = std::stol(username);
  EXPECT_GE(expiry, before + 3600);
  EXPECT_LE(expiry, std::time(nullptr) + 3600);
  EXPECT_EQ(username, std::to_string(expiry) + ":tevanto");
  const auto expected =
      TurnCredentials::make("north", std::chrono::sys_seconds(std::chrono::seconds(expiry)), "tevanto");
  EXPECT_EQ(servers[0].at("credential").as_string(), expected.credential);
}

TEST(RelayProgram, takesItsSettingsFromTheEnvironment) {
  const RelayProcess relay(
      {}, {.environment = {{"TEVANTO_RELAY_TURN_SECRET", "north"},
                           {"TEVANTO_RELAY_TURN_URLS", "turn:a.example.org,turn:b.example.org"},
                           {"TEVANTO_RELAY_STUN_URLS", "stun:s.example.org"}}});
  const auto json = boost::json::parse(bodyOf(relay.ask("/turn-credentials")));
  EXPECT_EQ(json.at("iceServers").at(0).at("urls"),
            boost::json::value(boost::json::array{"stun:s.example.org"}));
  EXPECT_EQ(json.at("iceServers").at(1).at("urls"),
            (boost::json::value{"turn:a.example.org", "turn:b.example.org"}));
}

TEST(RelayProgram, hasNoCredentialsWithoutASecret) {
  const RelayProcess relay;
  const auto answer = relay.ask("/turn-credentials");
  EXPECT_THAT(answer, StartsWith("HTTP/1.1 404 Not Found\r\n"));
  EXPECT_EQ(bodyOf(answer), "This relay hands out no TURN credentials.\n");
}

TEST(RelayProgram, saysThatItIsWell) {
  const RelayProcess relay;
  const auto answer = relay.ask("/healthz");
  EXPECT_THAT(answer, StartsWith("HTTP/1.1 200 OK\r\n"));
  EXPECT_EQ(bodyOf(answer), "ok\n");
  const auto head = relay.exchange("HEAD /healthz HTTP/1.1\r\nHost: relay\r\n\r\n");
  EXPECT_THAT(head, HasSubstr("Content-Length: 3\r\n"));
  EXPECT_EQ(bodyOf(head), "");
  EXPECT_THAT(relay.exchange("GET /healthz HTTP/1.0\r\n\r\n"), HasSubstr("\r\n\r\nok\n"));
}

TEST(RelayProgram, showsItsMetricsInThePrometheusFormat) {
  const RelayProcess relay;
  RawWebSocket mac(relay.port(), connectTarget("a", "mac"));
  ASSERT_TRUE(eventually([&] { return relay.metric("members{role=\"mac\"}") == 1; }));
  const auto answer = relay.ask("/metrics");
  EXPECT_THAT(answer, HasSubstr("Content-Type: text/plain; version=0.0.4; charset=utf-8\r\n"));
  EXPECT_THAT(answer, HasSubstr("\n# TYPE tevanto_relay_rooms gauge\ntevanto_relay_rooms 1\n"));
}

TEST(RelayProgram, pingsAndEndsWhoIsSilent) {
  const RelayProcess relay({"--ping-interval", "0.2"});
  RawWebSocket silent(relay.port(), connectTarget("a", "phone"));
  int pings = 0;
  auto frame = silent.receive();
  for (; frame && frame->opcode == RawWebSocket::kPing; frame = silent.receive()) ++pings;
  EXPECT_EQ(pings, 2);
  ASSERT_TRUE(frame);
  EXPECT_EQ(frame->closeCode(), 1008);
  EXPECT_EQ(frame->closeText(), "no answer to two pings");
}

TEST(RelayProgram, keepsWhoAnswersItsPings) {
  const RelayProcess relay({"--ping-interval", "0.2"});
  RawWebSocket alive(relay.port(), connectTarget("a", "mac"));
  for (int pings = 0; pings < 6; ++pings) {
    const auto frame = alive.receive();
    ASSERT_TRUE(frame);
    ASSERT_EQ(frame->opcode, RawWebSocket::kPing);
    alive.sendFrame(RawWebSocket::kPong, frame->payload);
  }
  EXPECT_EQ(relay.metric("members{role=\"mac\"}"), 1);
}

}  // namespace
}  // namespace tevanto::relay
