#include "p2p/ice/StunProbe.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/network/TurnServer.h"
#include "tests/support/peers/StunAnswers.h"
#include "tests/support/peers/UdpServer.h"

namespace tevanto {
namespace {

using namespace std::chrono_literals;
using test::exampleAddress;
using test::kStunError;
using test::kStunErrorCode;
using test::kStunSuccess;
using test::stunAnswerTo;
using test::stunAttribute;
using test::stunBytes;
using test::UdpServer;
using Datagrams = std::vector<UdpServer::Datagram>;

/// Far longer than an answer on loopback takes.
constexpr auto kGenerous = 30s;

IceUrl on(std::uint16_t port) { return {"stun", "127.0.0.1", port, "udp"}; }

TEST(StunProbe, learnsItsAddressFromARealServer) {
  const test::TurnServer server;
  const auto address = askStun(on(server.port()), kGenerous);
  ASSERT_TRUE(address) << address.error();
  EXPECT_THAT(address.value(), testing::MatchesRegex("127\\.0\\.0\\.1:[1-9][0-9]*"));
}

TEST(StunProbe, asksAgainWhenTheFirstRequestIsLost) {
  std::vector<UdpServer::Datagram> requests;
  UdpServer server([&](auto request) -> Datagrams {
    requests.emplace_back(request.begin(), request.end());
    if (requests.size() < 2) return {};
    return {stunAnswerTo(request, kStunSuccess, exampleAddress())};
  });
  const auto address = askStun(on(server.port()), kGenerous);
  ASSERT_TRUE(address) << address.error();
  EXPECT_EQ(address.value(), "192.0.2.1:32853");
  ASSERT_GE(requests.size(), 2U);
  EXPECT_EQ(requests[0], requests[1]);  // the same transaction
}

TEST(StunProbe, waitsForItsAnswerBehindWhatIsNone) {
  UdpServer server([](auto request) -> Datagrams {
    auto forged = stunAnswerTo(request, kStunSuccess, exampleAddress());
    forged[19] ^= std::byte{1};
    return {{},
            stunBytes({1, 1}),
            forged,
            UdpServer::Datagram(2000, std::byte{1}),
            stunAnswerTo(request, kStunSuccess, exampleAddress())};
  });
  const auto address = askStun(on(server.port()), kGenerous);
  ASSERT_TRUE(address) << address.error();
  EXPECT_EQ(address.value(), "192.0.2.1:32853");
}

TEST(StunProbe, saysWhatTheServerComplainsOf) {
  UdpServer server([](auto request) -> Datagrams {
    return {
        stunAnswerTo(request, kStunError, stunAttribute(kStunErrorCode, stunBytes({0, 0, 4, 3, 27, '['})))};
  });
  const auto address = askStun(on(server.port()), kGenerous);
  ASSERT_FALSE(address);
  EXPECT_EQ(address.error(), "it answered with the error 403");
}

TEST(StunProbe, givesUpOnAServerThatIsSilent) {
  UdpServer server([](auto) { return Datagrams(); });
  const auto address = askStun(on(server.port()), 50ms);
  ASSERT_FALSE(address);
  EXPECT_EQ(address.error(), "it does not answer");
}

TEST(StunProbe, hearsOfARefusal) {
  std::uint16_t port = 0;
  {
    port = UdpServer([](auto) { return Datagrams(); }).port();
  }
  const auto address = askStun(on(port), kGenerous);
  ASSERT_FALSE(address);
  EXPECT_EQ(address.error(), "nothing listens there");
}

TEST(StunProbe, saysThatAHostIsNone) {
  const auto address = askStun({"stun", "fe80::1%no-such-interface", 3478, "udp"}, kGenerous);
  ASSERT_FALSE(address);
  EXPECT_THAT(address.error(), testing::StartsWith("its name cannot be looked up"));
}

}  // namespace
}  // namespace tevanto
