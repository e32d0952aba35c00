// What a hostile or broken client gets from the real relay.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/relay/RawWebSocket.h"
#include "tests/relay/RelayProcess.h"
#include "tests/support/programs/Eventually.h"

namespace tevanto::relay {
namespace {

using test::RawWebSocket;
using test::RelayProcess;
using testing::HasSubstr;
using testing::StartsWith;
using tevanto::test::eventually;

constexpr auto kUpgrade =
    "Host: relay\r\nConnection: Upgrade\r\nUpgrade: websocket\r\nSec-WebSocket-Version: 13\r\n"
    "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n\r\n";
constexpr std::size_t kMaxMessageBytes = 256 * 1024;

/// A room with both members in it.
struct Room {
  explicit Room(const RelayProcess& relay)
      : mac(relay.port(), "/connect?room=a&role=mac"), phone(relay.port(), "/connect?room=a&role=phone") {
    EXPECT_TRUE(eventually([&] { return relay.metric("members{role=\"phone\"}") == 1; }));
  }

  RawWebSocket mac;
  RawWebSocket phone;
};

void expectClose(RawWebSocket& client, int code, const std::string& text) {
  const auto close = client.receiveClose();
  ASSERT_TRUE(close);
  EXPECT_EQ(close->closeCode(), code);
  EXPECT_EQ(close->closeText(), text);
}

TEST(RelayRefusals, saysInACloseCodeWhatIsWrongWithRoomOrRole) {
  const RelayProcess relay;
  const std::string longest(128, 'r');
  for (const auto& target :
       {std::string("/connect"), std::string("/connect?room=a"), std::string("/connect?room=a&role=tv")}) {
    RawWebSocket client(relay.port(), target);
    expectClose(client, 1008, "role must be mac or phone");
  }
  for (const auto& room : {std::string(), longest + "r", std::string("%ff")}) {
    RawWebSocket client(relay.port(), "/connect?role=mac&room=" + room);
    expectClose(client, 1008, "room must have 1 to 128 characters");
  }
  EXPECT_EQ(relay.metric("joins_total"), 0);
  RawWebSocket mac(relay.port(), "/connect?role=mac&room=" + longest);
  RawWebSocket phone(relay.port(), "/connect?role=phone&room=" + longest);
  ASSERT_TRUE(eventually([&] { return relay.metric("members{role=\"phone\"}") == 1; }));
  mac.sendText("fits");
  EXPECT_EQ(phone.receiveMessage(), "fits");
}

TEST(RelayRefusals, passesMessagesOfUpTo256KiB) {
  const RelayProcess relay;
  Room room(relay);
  const std::string largest(kMaxMessageBytes, 'x');
  room.mac.sendText(largest);
  EXPECT_EQ(room.phone.receiveMessage(), largest);
  room.mac.sendText(largest + "x");
  expectClose(room.mac, 1009, "");
  // The close frame may be here a moment before the member has left the room.
  EXPECT_TRUE(eventually([&] {
    room.phone.sendText("alone");
    return relay.metric("messages_to_nobody_total") >= 1;
  }));
}

TEST(RelayRefusals, countsFragmentsTogether) {
  const RelayProcess relay;
  Room room(relay);
  const std::string part(100 * 1024, 'x');
  room.mac.sendFrame(RawWebSocket::kText, part, false);
  room.mac.sendFrame(RawWebSocket::kContinuation, part, false);
  room.mac.sendFrame(RawWebSocket::kContinuation, part, true);
  expectClose(room.mac, 1009, "");
}

TEST(RelayRefusals, endsWhoFloods) {
  const RelayProcess relay;
  Room room(relay);
  // Far more than the burst and what the rate adds while they are being sent.
  std::string flood;
  for (int i = 0; i < 20'000; ++i) flood += RawWebSocket::frame(RawWebSocket::kText, "m");
  room.mac.sendRaw(flood);
  expectClose(room.mac, 1008, "too many messages");
  EXPECT_EQ(relay.metric("members_ended_total{reason=\"rate\"}"), 1);
  // The other member goes on.
  EXPECT_EQ(relay.metric("members{role=\"phone\"}"), 1);
  EXPECT_GE(relay.metric("messages_forwarded_total"), 200);
  EXPECT_LT(relay.metric("messages_forwarded_total"), 20'000);
}

TEST(RelayRefusals, endsWhoFloodsWithPings) {
  const RelayProcess relay;
  Room room(relay);
  std::string flood;
  for (int i = 0; i < 20'000; ++i) flood += RawWebSocket::frame(RawWebSocket::kPing, "");
  room.mac.sendRaw(flood);
  expectClose(room.mac, 1008, "too many messages");
}

TEST(RelayRefusals, dropsAReaderThatDoesNotRead) {
  const RelayProcess relay;
  Room room(relay);
  const std::string message(kMaxMessageBytes, 'x');
  // The system buffers some megabytes on its own before the relay's megabyte begins to fill.
  int sent = 0;
  while (sent < 190 && relay.metric("members_ended_total{reason=\"slow\"}") == 0) {
    ASSERT_TRUE(room.mac.sendText(message));
    ++sent;
  }
  EXPECT_TRUE(eventually([&] { return relay.metric("members_ended_total{reason=\"slow\"}") == 1; }));
  EXPECT_TRUE(room.phone.socket().waitForEnd());
  EXPECT_EQ(relay.metric("members{role=\"phone\"}"), 0);
  EXPECT_EQ(relay.metric("members{role=\"mac\"}"), 1);
  RawWebSocket next(relay.port(), "/connect?room=a&role=phone");
  ASSERT_TRUE(eventually([&] { return relay.metric("members{role=\"phone\"}") == 1; }));
  next.sendText("hello");
  EXPECT_EQ(room.mac.receiveMessage(), "hello");
}

TEST(RelayRefusals, endsWhoBreaksTheFraming) {
  const RelayProcess relay;
  for (const auto& [bytes, code] : std::vector<std::pair<std::string, int>>{
           {RawWebSocket::frame(RawWebSocket::kText, "\xFF\xFE"), 1007},
           {std::string("\x81\x02hi", 4), 1002},  // not masked
           {RawWebSocket::frame(RawWebSocket::kContinuation, "of nothing"), 1002},
           {std::string("\xC1\x80\0\0\0\0", 6), 1002},  // a reserved bit
           {std::string("\x83\x80\0\0\0\0", 6), 1002},  // a reserved opcode
           {RawWebSocket::frame(RawWebSocket::kPing, std::string(126, 'x')), 1002},
           {RawWebSocket::frame(RawWebSocket::kPing, "x", false), 1002}}) {
    RawWebSocket client(relay.port(), "/connect?room=a&role=mac");
    ASSERT_TRUE(client.isOpen());
    client.sendRaw(bytes);
    const auto close = client.receiveClose();
    ASSERT_TRUE(close) << testing::PrintToString(bytes);
    EXPECT_EQ(close->closeCode(), code) << testing::PrintToString(bytes);
    client.sendFrame(RawWebSocket::kClose, close->payload.substr(0, 2));
  }
  EXPECT_TRUE(eventually([&] { return relay.metric("connections") == 1; }));
}

TEST(RelayRefusals, answersACloseFrame) {
  const RelayProcess relay;
  RawWebSocket client(relay.port(), "/connect?room=a&role=mac");
  client.sendFrame(RawWebSocket::kClose, std::string("\x03\xE9", 2));
  const auto close = client.receiveClose();
  ASSERT_TRUE(close);
  EXPECT_EQ(close->closeCode(), 1001);
  EXPECT_TRUE(eventually([&] { return relay.metric("members{role=\"mac\"}") == 0; }));
}

TEST(RelayRefusals, holdsAnAddressToItsLimit) {
  const RelayProcess relay({"--max-connections-per-address", "2"});
  RawWebSocket first(relay.port(), "/connect?room=a&role=mac");
  RawWebSocket second(relay.port(), "/connect?room=b&role=mac");
  RawWebSocket third(relay.port(), "/connect?room=c&role=mac");
  expectClose(third, 1013, "too many connections from this address");
  EXPECT_THAT(relay.ask("/healthz"), StartsWith("HTTP/1.1 503 Service Unavailable\r\n"));
  first.socket().close();
  EXPECT_TRUE(eventually([&] { return relay.ask("/healthz").starts_with("HTTP/1.1 200 OK\r\n"); }));
}

TEST(RelayRefusals, believesForwardedAddressesOnlyOfATrustedProxy) {
  const auto open = [](const RelayProcess& relay, const std::string& client) {
    return RawWebSocket(relay.port(), "/connect?room=" + client + "&role=mac",
                        "X-Forwarded-For: " + client + "\r\n");
  };
  const RelayProcess proxied({"--max-connections-per-address", "1", "--trusted-proxy", "127.0.0.1"});
  auto first = open(proxied, "192.0.2.1");
  auto second = open(proxied, "192.0.2.2");
  auto third = open(proxied, "192.0.2.1");
  expectClose(third, 1013, "too many connections from this address");
  EXPECT_EQ(proxied.metric("members{role=\"mac\"}"), 2);

  const RelayProcess direct({"--max-connections-per-address", "1"});
  auto honest = open(direct, "192.0.2.1");
  auto liar = open(direct, "192.0.2.2");
  expectClose(liar, 1013, "too many connections from this address");
}

TEST(RelayRefusals, holdsAllConnectionsToTheirLimit) {
  const RelayProcess relay({"--max-connections", "2"});
  RawWebSocket first(relay.port(), "/connect?room=a&role=mac");
  RawWebSocket second(relay.port(), "/connect?room=b&role=mac");
  RawWebSocket third(relay.port(), "/connect?room=c&role=mac");
  EXPECT_EQ(third.head(), "");
  first.socket().close();
  EXPECT_TRUE(eventually([&] { return relay.ask("/healthz").starts_with("HTTP/1.1 200 OK\r\n"); }));
}

TEST(RelayRefusals, answersRequestsThatItCannotUnderstand) {
  const RelayProcess relay;
  for (const auto& request : {
           std::string("garbage\r\n\r\n"),
           std::string("\x16\x03\x01\x02\x00\x01\x00\x01\xFC\x03\x03\r\n\r\n", 15),  // TLS to the plain port
           std::string("GET\r\n\r\n"), std::string("GET /connect?room=%zz&role=mac HTTP/1.1\r\n") + kUpgrade,
           std::string("GET connect?room=a&role=mac HTTP/1.1\r\n") + kUpgrade,
           std::string("GET / HTTP/9.9\r\n\r\n"), "GET /" + std::string(9000, 'x') + " HTTP/1.1\r\n\r\n",
           "GET / HTTP/1.1\r\nX: " + std::string(9000, 'x') + "\r\n\r\n",
           // It speaks before the upgrade has been answered.
           std::string("GET /connect?room=a&role=mac HTTP/1.1\r\n") + kUpgrade +
               RawWebSocket::frame(RawWebSocket::kText, "early"),
           std::string("GET /connect?room=a&role=mac HTTP/1.1\r\nHost: relay\r\nConnection: Upgrade\r\n"
                       "Upgrade: websocket\r\nSec-WebSocket-Version: 13\r\n\r\n"),  // no key
       }) {
    EXPECT_THAT(relay.exchange(request), StartsWith("HTTP/1.1 400 Bad Request\r\n"))
        << testing::PrintToString(request);
  }
  EXPECT_EQ(relay.metric("requests_failed_total"), 10);
}

TEST(RelayRefusals, asksForAnUpgradeThatItKnows) {
  const RelayProcess relay;
  EXPECT_THAT(relay.ask("/connect?room=a&role=mac"), StartsWith("HTTP/1.1 426 Upgrade Required\r\n"));
  EXPECT_THAT(relay.exchange(std::string("GET /connect?room=a&role=mac HTTP/1.0\r\n") + kUpgrade),
              StartsWith("HTTP/1.1 426 Upgrade Required\r\n"));
  EXPECT_THAT(relay.exchange("GET /connect?room=a&role=mac HTTP/1.1\r\nHost: relay\r\nConnection: Upgrade\r\n"
                             "Upgrade: websocket\r\nSec-WebSocket-Version: 12\r\n"
                             "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n\r\n"),
              testing::AllOf(StartsWith("HTTP/1.1 426 "), HasSubstr("Sec-WebSocket-Version: 13\r\n")));
  EXPECT_THAT(relay.exchange(
                  "POST /connect?room=a&role=mac HTTP/1.1\r\nHost: relay\r\nContent-Length: 1000000\r\n\r\n"),
              StartsWith("HTTP/1.1 405 Method Not Allowed\r\n"));
  EXPECT_THAT(relay.exchange(std::string("GET /other HTTP/1.1\r\n") + kUpgrade),
              StartsWith("HTTP/1.1 404 Not Found\r\n"));
}

TEST(RelayRefusals, hangsUpOnARequestThatComesTooSlowly) {
  const RelayProcess relay({"--request-timeout", "0.5"});
  const auto silent = tevanto::test::RawSocket::connectTo(relay.port());
  const auto slow = tevanto::test::RawSocket::connectTo(relay.port());
  slow.send("GET /connect?room=a&role=mac HTTP/1.1\r\nHo");
  EXPECT_TRUE(silent.waitForEnd());
  EXPECT_TRUE(slow.waitForEnd());
  EXPECT_EQ(relay.metric("requests_failed_total"), 2);
  // One that comes a few bytes at a time gets no more time than others: it is not each byte that counts.
  const auto dripping = tevanto::test::RawSocket::connectTo(relay.port());
  dripping.send("GET /healthz HTTP/1.1\r\n");
  EXPECT_TRUE(eventually([&] {
    dripping.send("X-More: 1\r\n");
    return relay.metric("requests_failed_total") == 3;
  }));
}

TEST(RelayRefusals, survivesClientsThatVanish) {
  const RelayProcess relay;
  for (int i = 0; i < 50; ++i) {
    auto raw = tevanto::test::RawSocket::connectTo(relay.port());
    raw.send("GET /connect?room=a&role=mac HTTP/1.1\r\n");
    raw.reset();
    RawWebSocket member(relay.port(), "/connect?room=a&role=mac");
    member.sendRaw(std::string("\x81\xFE\x10", 3));
    member.socket().reset();
  }
  EXPECT_TRUE(eventually([&] { return relay.metric("connections") == 1; }));
  EXPECT_EQ(relay.metric("rooms"), 0);
}

TEST(RelayRefusals, doesNotStartWithContradictingOptions) {
  for (const auto& [options, says] : std::vector<std::pair<std::vector<std::string>, std::string>>{
           {{"--certificate", "/nowhere.pem"}, "both a certificate and its private key"},
           {{"--certificate", "/nowhere.pem", "--private-key", "/nowhere.pem"},
            "Cannot use the certificate /nowhere.pem"},
           {{"--turn-secret", "s"}, "without the URL of the TURN server"},
           {{"--turn-url", "turn.example.org:3478"}, "\"turn.example.org:3478\" is no URL of a TURN server"},
           {{"--turn-url", "stun:turn.example.org"}, "\"stun:turn.example.org\" is no URL of a TURN server"},
           {{"--stun-url", "turn.example.org"}, "\"turn.example.org\" is no URL of a STUN server"},
           {{"--trusted-proxy", "everybody"}, "\"everybody\" is no address"},
           {{"--listen", "everywhere"}, "\"everywhere\" is no address to listen on"},
           {{"--listen", "192.0.2.1"}, "Cannot listen on port 0"}}) {
    std::vector<std::string> command{TEVANTO_RELAY, "--port", "0"};
    command.insert(command.end(), options.begin(), options.end());
    const auto result = tevanto::test::runProgram(command, {.environment = {}, .mergeErrors = true});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_THAT(result.output, HasSubstr(says));
  }
}

TEST(RelayRefusals, doesNotShareAPort) {
  const RelayProcess relay;
  const auto result = tevanto::test::runProgram(
      {TEVANTO_RELAY, "--listen", "127.0.0.1", "--port", std::to_string(relay.port())},
      {.environment = {}, .mergeErrors = true});
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_THAT(result.output, HasSubstr("Cannot listen on port " + std::to_string(relay.port())));
}

TEST(RelayRefusals, listensOnBothFamiliesByDefault) {
  tevanto::test::ChildProcess relay({TEVANTO_RELAY, "--port", "0"});
  const auto first = relay.readLine().value_or("");
  ASSERT_THAT(first, StartsWith("listening on 0.0.0.0:"));
  const auto port = static_cast<std::uint16_t>(std::stoul(first.substr(first.rfind(':') + 1)));
  EXPECT_TRUE(RawWebSocket(port, "/connect?room=a&role=mac").isOpen());
  if (!tevanto::test::RawSocket::connectTo(port, true).isOpen())
    GTEST_SKIP() << "this machine has no IPv6 loopback";
  EXPECT_EQ(relay.readLine(), "listening on [::]:" + std::to_string(port));
}

}  // namespace
}  // namespace tevanto::relay
