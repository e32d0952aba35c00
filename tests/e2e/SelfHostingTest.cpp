#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <boost/json.hpp>
#include <chrono>
#include <map>
#include <regex>
#include <string>
#include <vector>

#include "relay/DescriptorLimit.h"
#include "relay/RelayOptions.h"
#include "tests/e2e/SelfHostingFixture.h"
#include "tests/support/companion/CompanionProcess.h"

// The guide to self-hosting the servers of the away connection, followed as it is written: its commands are
// run, its files are put where it says, and the real coturn, nginx and relay start on them. What is not run
// is apt, certbot and systemd.
namespace tevanto {
namespace {

using relay::test::RawWebSocket;
using test::eventually;
using testing::EndsWith;
using testing::HasSubstr;

/// The values of a file's only list.
std::vector<std::string> urlsIn(const std::string& file) {
  std::vector<std::string> made;
  const std::regex url("turns?:[^,\\s]+");
  for (std::sregex_iterator each(file.begin(), file.end(), url), end; each != end; ++each)
    made.push_back(each->str());
  return made;
}

class SelfHostedServers : public SelfHosting {
 protected:
  void expectAWorkingConnection() const {
    EXPECT_THAT(clientDoes(*away, guide().blockWith("curl https://relay.example.org/healthz")).output,
                EndsWith("ok\n"));
    const auto set = clientDoes(*home, guide().blockWith("tevanto.relay.urls"));
    EXPECT_EQ(set.exitStatus, 0) << set.output;
    const auto said =
        clientDoes(*home, "tevanto doctor --json --remote-port 0 --screen-port 0 || true").output;
    const auto report = boost::json::parse(said);
    std::map<std::string, bool> found;
    for (const auto& each : report.at("checks").as_array())
      found[each.at("name").as_string().c_str()] = each.at("ok").as_bool();
    for (const auto* name : {"relay", "credentials", "STUN", "TURN"})
      EXPECT_TRUE(found[name]) << name << said;
    for (const auto& url : urlsIn(guide().blockWith("TEVANTO_RELAY_TURN_URLS=")))
      EXPECT_THAT(said, HasSubstr(url + " allocated"));
  }
};

TEST_F(SelfHostedServers, worksToTheDoctorsMind) {
  startRelayBehindProxy();
  // Seconds, whatever the route.
  const auto tried =
      beginAsClient(*away, replaced(guide().blockWith("turnutils_uclient"), "apt install jq\n", ""));
  expectAWorkingConnection();
  const auto packets = tried->readAll();
  EXPECT_EQ(tried->wait(), 0) << packets;
  EXPECT_THAT(packets, HasSubstr("tot_recv_msgs=20"));
}

TEST_F(SelfHosting, turnIsNoDoorIntoItsOwnNetworkAndNoneForStrangers) {
  startRelayBehindProxy();
  ASSERT_EQ(
      clientDoes(*away, "curl -s https://relay.example.org/turn-credentials > credentials.json").exitStatus,
      0);
  const auto sendTo = [this](const std::string& peer, const std::string& credential) {
    return clientDoes(*away, "turnutils_uclient -c -n 1 -m 1 -e " + peer +
                                 " -u $(jq -r '.iceServers[-1].username' credentials.json) -w " + credential +
                                 " relay.example.org")
        .output;
  };
  const std::string credential = "$(jq -r '.iceServers[-1].credential' credentials.json)";
  EXPECT_THAT(sendTo("198.51.100.1", "guessed"), HasSubstr("Cannot complete Allocation"));
  // No more of them: the quota of one user is 12 allocations, and each takes two.
  for (const auto* peer :
       {"10.0.0.1", "100.64.0.1", "127.0.0.1", "169.254.169.254", "172.31.0.1", "192.168.1.2"})
    EXPECT_THAT(sendTo(peer, credential), HasSubstr("error 403 (Forbidden IP)")) << peer;
}

TEST_F(SelfHostedServers, doesWithoutAProxyToo) {
  startRelayWithItsCertificate();
  expectAWorkingConnection();
}

TEST_F(SelfHosting, carriesASessionThroughTURN) {
  startRelayBehindProxy();
  test::CompanionDesktop desktop;
  // Both look in the same folder, as they would on one computer.
  client.insert(client.end(), desktop.environment.begin(), desktop.environment.end());
  ASSERT_EQ(clientDoes(*home, guide().blockWith("tevanto.relay.urls")).exitStatus, 0);
  desktop.environment = client;
  test::CompanionProcess companion(desktop, forClients(TEVANTO_PROGRAM), {"--no-discovery"}, home.get());
  // An offer to nobody is lost, and the next one takes a while.
  ASSERT_TRUE(eventually([this] { return relayMetrics().find("{role=\"mac\"} 1\n") != std::string::npos; }));
  const auto status = companion.status().value_or(CompanionStatus());
  const auto asPhone = [&](const std::string& words) {
    client.emplace_back("XDG_CONFIG_HOME", (folder / "phone").string());
    return clientDoes(*away, replaced(guide().blockWith("export TEVANTO_RELAY_URLS"), "ROOM ...",
                                      status.deviceID + " --timeout 60 " + words));
  };
  const auto paired = asPhone("pair " + status.pairingCode);
  ASSERT_EQ(paired.exitStatus, 0) << paired.output;
  EXPECT_TRUE(eventually(
      [&] { return asPhone("hello").output.find("Route:        TURN relay") != std::string::npos; }));
}

// Idle connections live on the relay's pings; a client that answers none is ended by the relay, not by the
// proxy.
TEST(SelfHostingGuide, letsTheProxyWaitLongerThanForPings) {
  const relay::RelayLimits limits;
  const auto& site = guide().blockWith("proxy_pass");
  for (const auto* name : {"proxy_read_timeout", "proxy_send_timeout"}) {
    std::smatch found;
    ASSERT_TRUE(std::regex_search(site, found, std::regex(name + std::string(" ([0-9]+)s;"))));
    EXPECT_GT(std::chrono::seconds(std::stoi(found[1])), limits.pingInterval * (limits.unansweredPings + 1))
        << name;
  }
  EXPECT_THAT(site, HasSubstr("The relay pings every " +
                              std::to_string(limits.pingInterval / std::chrono::seconds(1)) + " s"));
}

TEST_F(SelfHosting, theProxyCarriesRoomsAndNothingElse) {
  startRelayBehindProxy();
  away->enter([] {
    auto mac = member("/connect?room=a&role=mac");
    auto phone = member("/connect?room=a&role=phone");
    ASSERT_TRUE(mac.isOpen() && phone.isOpen());
    const std::string largest(relay::RelayLimits().maxMessageBytes, 'x');
    // Nobody hears what is said before the other is known to be there.
    ASSERT_TRUE(phone.sendFrame(RawWebSocket::kPing, "there"));
    ASSERT_EQ(phone.receive().value_or(RawWebSocket::Frame()).opcode, RawWebSocket::kPong);
    ASSERT_TRUE(mac.sendText(largest));
    EXPECT_EQ(phone.receiveMessage(), largest);
    ASSERT_TRUE(phone.sendText("heard"));
    EXPECT_EQ(mac.receiveMessage(), "heard");
    for (const std::uint16_t port : {80, 8787})
      EXPECT_FALSE(test::RawSocket::connectTo(kSelfHostedServer, port).isOpen()) << port;
  });
  EXPECT_THAT(clientDoes(*away, "curl -s https://relay.example.org/metrics").output,
              HasSubstr("404 Not Found"));
  EXPECT_THAT(relayMetrics(), HasSubstr("\ntevanto_relay_messages_forwarded_total 2\n"));
}

TEST_F(SelfHosting, theProxyCarriesMoreThanItDoesByItselfAndTheRelayCountsClients) {
  startRelayBehindProxy();
  relay::raiseDescriptorLimit();
  std::vector<std::string> addresses;
  for (int i = 10; i < 14; ++i) {
    addresses.push_back("192.168.1." + std::to_string(i));
    home->run({"ip", "address", "add", addresses.back() + "/32", "dev", "eth0"});
    network->run({"ip", "route", "add", addresses.back() + "/32", "dev", "home0"});
  }
  home->enter([&] {
    std::vector<RawWebSocket> open;
    const auto join = [&](const std::string& address) {
      return member("/connect?room=" + std::to_string(open.size()) + "&role=phone", address);
    };
    for (const auto& address : addresses) {
      for (std::size_t i = 0; i < relay::RelayLimits().connectionsPerAddress; ++i) {
        open.push_back(join(address));
        ASSERT_TRUE(open.back().isOpen()) << open.size();
      }
      EXPECT_EQ(join(address).receiveClose().value_or(RawWebSocket::Frame()).closeCode(), 1013);
    }
    // A client over the limit is let in to be told so.
    const auto everybody = "{role=\"phone\"} " + std::to_string(open.size()) + "\n";
    EXPECT_TRUE(eventually([&] { return relayMetrics().find(everybody) != std::string::npos; }));
  });
}

}  // namespace
}  // namespace tevanto
