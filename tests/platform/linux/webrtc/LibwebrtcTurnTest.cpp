#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <string>
#include <utility>

#include "platform/linux/webrtc/LoadedPeers.h"
#include "tests/support/fakes/RecordingLogSink.h"
#include "tests/support/network/TurnServer.h"
#include "tests/support/peers/PeerSide.h"
#include "tests/support/programs/Eventually.h"
#include "tests/support/programs/TemporaryFolder.h"
#include "tests/support/web/TestAuthority.h"

// Peers of the real engine through a real TURN server on the loopback interface.

namespace tevanto {
namespace {

using test::connectedPair;
using test::eventually;
using test::PeerSide;
using test::TestAuthority;
using test::TestIdentity;
using test::TurnServer;

PeerEngineOptions onLoopbackOnly() {
  PeerEngineOptions options;
  options.includeLoopback = true;
  return options;
}

bool isRelayed(const IceCandidate& candidate) {
  return candidate.sdp.find(" typ relay ") != std::string::npos;
}

std::string typeOf(const RouteReport& report, const std::string& id) {
  for (const auto& candidate : report.candidates)
    if (candidate.id == id) return candidate.candidateType;
  return "";
}

/// A server that is reached by UDP alone or by TCP alone.
class LibwebrtcTurn : public testing::TestWithParam<std::string> {
 protected:
  static TurnServer::Options options() {
    TurnServer::Options options;
    options.udp = GetParam() == "udp";
    options.tcp = GetParam() == "tcp";
    return options;
  }

  TurnServer server_{options()};
  LoadedPeers factory_{onLoopbackOnly()};
};

TEST_P(LibwebrtcTurn, relaysAChannel) {
  PeerConfiguration configuration;
  configuration.iceServers.push_back(server_.iceServer(GetParam()));
  const auto pair = connectedPair(factory_, configuration, isRelayed);
  ASSERT_TRUE(pair) << server_.log();
  const std::string text = "through the relay";
  ASSERT_TRUE(pair.offerer->channel("tevanto")->send(std::as_bytes(std::span(text))));
  ASSERT_TRUE(eventually([&] { return pair.answerer->receivedCount("tevanto") == 1; }));
  EXPECT_EQ(pair.answerer->received("tevanto").front(), text);
  // A side that knows nothing but relayed candidates of the other may still send from its own address.
  const auto report = pair.offerer->statistics();
  ASSERT_TRUE(report.selectedCandidatePairId);
  const auto selected = std::find_if(report.pairs.begin(), report.pairs.end(), [&](const auto& each) {
    return each.id == *report.selectedCandidatePairId;
  });
  ASSERT_NE(selected, report.pairs.end());
  EXPECT_TRUE(typeOf(report, selected->localCandidateId) == "relay" ||
              typeOf(report, selected->remoteCandidateId) == "relay");
  EXPECT_NE(server_.log().find("ALLOCATE processed, success"), std::string::npos);
}

TEST_P(LibwebrtcTurn, getsNoAllocationWithCredentialsThatAreOver) {
  PeerConfiguration configuration;
  configuration.iceServers.push_back(server_.iceServer(GetParam(), -60));
  const auto side = PeerSide::make(factory_, configuration);
  ASSERT_TRUE(side->openChannel("tevanto"));
  const auto offer = side->createOffer();
  ASSERT_TRUE(offer);
  ASSERT_TRUE(side->setLocal(offer.value()));
  ASSERT_TRUE(eventually([&] {
    return server_.log().find("Cannot find credentials of user") != std::string::npos;
  })) << server_.log();
  const auto candidates = side->candidates();
  EXPECT_EQ(std::count_if(candidates.begin(), candidates.end(), isRelayed), 0);
}

TEST_P(LibwebrtcTurn, showsInTheBufferedAmountThatNothingGetsThrough) {
  PeerConfiguration configuration;
  configuration.iceServers.push_back(server_.iceServer(GetParam()));
  const auto pair = connectedPair(factory_, configuration, isRelayed);
  ASSERT_TRUE(pair) << server_.log();
  server_.kill();
  const auto channel = pair.offerer->channel("tevanto");
  const std::string packet(4008, 's');
  for (int sent = 0; sent < 75; ++sent) ASSERT_TRUE(channel->send(std::as_bytes(std::span(packet))));
  // Answered after everything that was sent before has gone as far as it gets.
  (void)pair.offerer->statistics();
  EXPECT_GT(channel->bufferedAmount(), 150'000u);
}

INSTANTIATE_TEST_SUITE_P(Transports, LibwebrtcTurn, testing::Values("udp", "tcp"),
                         [](const auto& each) { return each.param; });

/// A server that speaks TLS alone; the system's authorities are those of the test.
class LibwebrtcTurnTls : public testing::Test {
 protected:
  void trust(const TestAuthority& authority) {
    std::ofstream(folder_ / "authorities.pem") << authority.certificatePem();
    ::setenv("SSL_CERT_FILE", (folder_ / "authorities.pem").c_str(), 1);
  }
  ~LibwebrtcTurnTls() override { ::unsetenv("SSL_CERT_FILE"); }

  static TurnServer::Options as(TestIdentity identity) {
    TurnServer::Options options;
    options.identity = std::move(identity);
    return options;
  }
  /// Lets a peer gather through the server, until the engine gives `reason` for giving up.
  void expectRefusal(const TurnServer& server, const std::string& reason) {
    auto options = onLoopbackOnly();
    options.verbose = true;
    options.log = Logger(log_, "webrtc");
    LoadedPeers factory(options);
    PeerConfiguration configuration;
    configuration.iceServers.push_back(server.iceServer("tcp"));
    const auto side = PeerSide::make(factory, configuration);
    ASSERT_TRUE(side->openChannel("tevanto"));
    const auto offer = side->createOffer();
    ASSERT_TRUE(offer && side->setLocal(offer.value()));
    EXPECT_TRUE(eventually([&] { return wasLogged(reason); }));
    side->peer().close();
    EXPECT_EQ(server.log().find("ALLOCATE processed, success"), std::string::npos);
  }
  bool wasLogged(const std::string& text) const {
    const auto lines = log_->lines();
    return std::any_of(lines.begin(), lines.end(),
                       [&](const auto& line) { return line.text.find(text) != std::string::npos; });
  }

  TestAuthority authority_;
  test::TemporaryFolder folder_;
  std::shared_ptr<test::RecordingLogSink> log_ = std::make_shared<test::RecordingLogSink>();
};

TEST_F(LibwebrtcTurnTls, relaysAChannelOfAServerThatTheSystemTrusts) {
  trust(authority_);
  const TurnServer server(as(authority_.issue({"DNS:localhost"})));
  LoadedPeers factory(onLoopbackOnly());
  PeerConfiguration configuration;
  configuration.iceServers.push_back(server.iceServer("tcp"));
  ASSERT_TRUE(configuration.iceServers[0].urlStrings[0].starts_with("turns:"));
  const auto pair = connectedPair(factory, configuration, isRelayed);
  ASSERT_TRUE(pair) << server.log();
  ASSERT_TRUE(pair.offerer->channel("tevanto")->send(std::as_bytes(std::span("{}", 2))));
  ASSERT_TRUE(eventually([&] { return pair.answerer->receivedCount("tevanto") == 1; }));
  EXPECT_NE(server.log().find("ALLOCATE processed, success"), std::string::npos);
}

TEST_F(LibwebrtcTurnTls, getsNoAllocationFromAServerThatNobodyKnows) {
  trust(TestAuthority());
  const TurnServer server(as(authority_.issue({"DNS:localhost"})));
  expectRefusal(server, "unknown CA");
}

TEST_F(LibwebrtcTurnTls, getsNoAllocationFromAServerOfAnotherName) {
  trust(authority_);
  const TurnServer server(as(authority_.issue({"DNS:another.test"})));
  expectRefusal(server, "TLS post connection check failed");
}

}  // namespace
}  // namespace tevanto
