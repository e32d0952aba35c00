#include "app/doctor/AwayDoctorChecks.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <future>
#include <thread>

#include "app/cli/DefaultsText.h"
#include "net/web/BeastHttpClient.h"
#include "net/web/BeastWebSocketFactory.h"
#include "p2p/cloud/CloudKitWebDatabase.h"
#include "platform/linux/webrtc/LoadedPeers.h"
#include "tests/support/fakes/DeploymentSources.h"
#include "tests/support/network/TurnServer.h"
#include "tests/support/peers/UdpServer.h"
#include "tests/support/programs/ChildProcess.h"
#include "tests/support/programs/Eventually.h"
#include "tests/support/programs/TestFiles.h"
#include "tests/support/web/CloudKitTestService.h"
#include "tests/support/web/TestHttpServer.h"

// The checks on real servers: the relay's program, a TURN server, and what answers in their place.

namespace tevanto {
namespace {

using namespace std::chrono_literals;
using test::CloudKitTestService;
using test::TestHttpReply;
using test::TestHttpRequest;
using test::TestHttpServer;
using test::TurnServer;
using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;
using testing::StrEq;

/// The relay's own program, handing out the URLs of a TURN server with the secret.
class RelayProgram {
 public:
  explicit RelayProgram(const std::vector<std::string>& turnURLs = {}, const std::string& secret = {},
                        const std::vector<std::string>& more = {})
      : relay_(command(turnURLs, secret, more)) {
    const auto said = relay_.readLine().value_or("");
    EXPECT_THAT(said, StartsWith("listening on "));
    port_ = said.substr(said.rfind(':') + 1);
  }
  std::string url() const { return "ws://127.0.0.1:" + port_; }

 private:
  static std::vector<std::string> command(const std::vector<std::string>& turnURLs, const std::string& secret,
                                          const std::vector<std::string>& more) {
    std::vector<std::string> made{TEVANTO_RELAY, "--listen", "127.0.0.1", "--port", "0"};
    made.insert(made.end(), more.begin(), more.end());
    if (!secret.empty()) made.insert(made.end(), {"--turn-secret", secret});
    for (const auto& url : turnURLs) made.insert(made.end(), {"--turn-url", url});
    return made;
  }

  test::ChildProcess relay_;
  std::string port_;
};

/// A TCP port of loopback on which nobody listens.
std::uint16_t portWithoutListener() {
  return TestHttpServer([](const TestHttpRequest&) { return TestHttpReply(); }).port();
}

class AwayDoctorChecksTest : public testing::Test {
 protected:
  ~AwayDoctorChecksTest() override { loop_->stop(); }

  /// Tries the one check, as the program does but with more timeout: the machine may be busy.
  DoctorFinding finding(const std::string& name) {
    const auto settings = sources_.settings();
    const auto http = std::make_shared<BeastHttpClient>(loop_, TlsTrust{authority_.certificatePem()});
    PeerEngineOptions options;
    options.includeLoopback = true;
    const auto peers = std::make_shared<LoadedPeers>(options);
    auto checks = awayDoctorChecks(
        {.settings = settings,
         .loop = loop_,
         .http = http,
         .webSockets = std::make_shared<BeastWebSocketFactory>(loop_),
         .loadPeers = [peers] { return peers->load(); },
         .peers = peers,
         .database = makeCloudDatabase(
             settings, {http, loop_->makeQueue("cloud"), std::chrono::system_clock::now}, Logger())});
    std::erase_if(checks, [&](const DoctorCheck& check) { return check.name != name; });
    DoctorFinding found;
    tryChecks(checks, 60s, [&](DoctorFinding each) { found = std::move(each); });
    return found;
  }
  void expectFine(const std::string& name, const testing::Matcher<std::string>& text) {
    const auto found = finding(name);
    EXPECT_TRUE(found.ok) << found.text;
    EXPECT_THAT(found.text, text);
  }
  void expectFailed(const std::string& name, const testing::Matcher<std::string>& text) {
    const auto found = finding(name);
    EXPECT_FALSE(found.ok) << found.text;
    EXPECT_THAT(found.text, text);
  }
  void set(const std::string& variable, const std::string& value) { sources_.environment[variable] = value; }

  std::shared_ptr<EventLoop> loop_ = EventLoop::background(2);
  test::TestAuthority authority_;
  test::TemporaryFolder folder_;
  test::DeploymentSources sources_;
};

TEST_F(AwayDoctorChecksTest, saysHowToSetUpWhatIsNot) {
  for (const auto* name : {"relay", "credentials", "STUN", "TURN", "cloud"})
    expectFine(name, StartsWith("not set up; "));
  for (const auto* name : {"relay", "STUN", "TURN"}) {
    const auto text = finding(name).text;
    const auto quote = text.find('\'');
    const auto value = defaultsValueFrom(text.substr(quote + 1, text.rfind('\'') - quote - 1),
                                         DefaultsOptions::Type::automatic);
    ASSERT_TRUE(value) << text;
    EXPECT_TRUE(std::holds_alternative<std::vector<std::string>>(value.value())) << text;
  }
}

TEST_F(AwayDoctorChecksTest, opensEachRelay) {
  const RelayProgram one, two;
  set("TEVANTO_RELAY_URLS", one.url() + "," + two.url());
  expectFine("relay", StrEq(one.url() + " opened, " + two.url() + " opened"));
}

TEST_F(AwayDoctorChecksTest, namesTheRelayThatDoesNotListen) {
  const RelayProgram good;
  const auto bad = "ws://127.0.0.1:" + std::to_string(portWithoutListener());
  set("TEVANTO_RELAY_URLS", good.url() + "," + bad);
  expectFailed("relay", AllOf(StartsWith("The relay " + bad + " cannot be used (no connection to "),
                              HasSubstr("Connection refused"), HasSubstr("check that tevanto-relay runs")));
}

TEST_F(AwayDoctorChecksTest, noticesAServerThatIsNoRelay) {
  TestHttpServer server([](const TestHttpRequest&) { return TestHttpReply{.status = 404}; });
  set("TEVANTO_RELAY_URLS", "ws://" + server.authority() + ",example.org");
  expectFailed("relay",
               AllOf(HasSubstr("404"), HasSubstr("The relay example.org cannot be used (that is no")));
}

TEST_F(AwayDoctorChecksTest, entersARoomOfItsOwnAsTheCompanionDoes) {
  std::promise<std::string> target;
  TestHttpServer server([&](const TestHttpRequest& request) {
    target.set_value(request.target);
    return TestHttpReply{.status = 101};
  });
  set("TEVANTO_RELAY_URLS", "ws://" + server.authority());
  expectFine("relay", HasSubstr("opened"));
  EXPECT_THAT(target.get_future().get(), testing::MatchesRegex("/connect\\?room=doctor-[0-9A-F-]+&role=mac"));
}

TEST_F(AwayDoctorChecksTest, saysWhyTheRelayTurnsUsAway) {
  const RelayProgram relay({}, {}, {"--max-connections-per-address", "1"});
  const auto queue = loop_->makeQueue("the one that is there already");
  const auto other = BeastWebSocketFactory(loop_).create(relay.url() + "/connect?room=r&role=phone");
  std::promise<void> opened;
  queue->async([&] { other->start(queue, {[&] { opened.set_value(); }, [](auto) {}, [](const auto&) {}}); });
  opened.get_future().wait();
  set("TEVANTO_RELAY_URLS", relay.url());
  expectFailed("relay", HasSubstr("it closed the connection with the code 1013"));
}

TEST_F(AwayDoctorChecksTest, fetchesCredentials) {
  const RelayProgram relay({"turn:192.0.2.1:3478?transport=udp"}, "secret");
  set("TEVANTO_RELAY_URLS", relay.url());
  expectFine("credentials", StrEq(relay.url() + " hands out 1 TURN server"));
}

TEST_F(AwayDoctorChecksTest, saysThatARelayHasNoTurnServers) {
  const RelayProgram relay;
  set("TEVANTO_RELAY_URLS", relay.url());
  expectFine("credentials", AllOf(HasSubstr("hands out no TURN servers"), HasSubstr("--turn-secret")));
  expectFine("TURN", StartsWith("not set up"));
}

TEST_F(AwayDoctorChecksTest, noticesCredentialsThatCannotBeRead) {
  TestHttpServer server([](const TestHttpRequest&) { return TestHttpReply{.status = 502, .body = "[]"}; });
  const auto nobody = "ws://127.0.0.1:" + std::to_string(portWithoutListener());
  set("TEVANTO_RELAY_URLS", "ws://" + server.authority() + "," + nobody + ",example.org");
  expectFailed("credentials", AllOf(HasSubstr("it answers with the status 502"),
                                    HasSubstr("Connection refused"), HasSubstr("no address of a relay")));
}

TEST_F(AwayDoctorChecksTest, learnsItsAddress) {
  const TurnServer server;
  const auto host = "127.0.0.1:" + std::to_string(server.port());
  set("TEVANTO_STUN_HOSTS", host);
  expectFine("STUN", StartsWith("stun:" + host + " sees us at 127.0.0.1:"));
}

TEST_F(AwayDoctorChecksTest, namesTheStunServersThatDoNotAnswer) {
  test::UdpServer silent([](auto) { return std::vector<test::UdpServer::Datagram>(); });
  const auto host = "127.0.0.1:" + std::to_string(silent.port());
  set("TEVANTO_STUN_HOSTS", host + ",stun:127.0.0.1:0");
  expectFailed("STUN", AllOf(HasSubstr("stun:" + host + " does not tell our address (it does not answer)"),
                             HasSubstr("stun:127.0.0.1:0 is no address of a STUN server")));
  EXPECT_GE(silent.receivedCount(), 3);  // at 0, 0.5 and 1.5 seconds
}

TEST_F(AwayDoctorChecksTest, allocatesWithTheCredentialsOfTheRelay) {
  const TurnServer server;
  const RelayProgram relay({server.url("udp"), server.url("tcp")}, server.secret());
  set("TEVANTO_RELAY_URLS", relay.url());
  expectFine("TURN", StrEq(server.url("udp") + " allocated, " + server.url("tcp") + " allocated"));
  EXPECT_THAT(server.log(), HasSubstr("ALLOCATE processed, success"));
}

TEST_F(AwayDoctorChecksTest, allocatesWithConfiguredCredentials) {
  const TurnServer server;
  const auto configured = server.iceServer("udp");
  set("TEVANTO_TURN_URLS", configured.urlStrings.front());
  set("TEVANTO_TURN_USERNAME", *configured.username);
  set("TEVANTO_TURN_CREDENTIAL", *configured.credential);
  expectFine("TURN", StrEq(server.url("udp") + " allocated"));
}

TEST_F(AwayDoctorChecksTest, tellsAWrongSecretFromAServerThatIsNotThere) {
  const TurnServer server;
  TurnServer gone;
  gone.kill();
  const RelayProgram relay({server.url("udp"), gone.url("udp"), gone.url("tcp")}, "not the server's secret");
  set("TEVANTO_RELAY_URLS", relay.url());
  expectFailed("TURN", AllOf(HasSubstr(server.url("udp") + ": it runs but refuses our credentials"),
                             HasSubstr(gone.url("udp") + ": nothing listens there"),
                             HasSubstr(gone.url("tcp") + ": check that it listens for tcp there")));
}

TEST_F(AwayDoctorChecksTest, noticesTurnServersThatAreNone) {
  set("TEVANTO_TURN_URLS", "turn.example.org,turn:a:0");
  expectFailed("TURN", AllOf(HasSubstr("turn.example.org is no address of a TURN server"),
                             HasSubstr("turn:a:0 is no address of a TURN server")));
}

TEST_F(AwayDoctorChecksTest, triesABoundedNumberOfServers) {
  std::string urls;
  for (int i = 0; i < 20; ++i) urls += "turn.example.org,";
  set("TEVANTO_TURN_URLS", urls);
  const auto text = finding("TURN").text;
  std::size_t count = 0;
  for (auto at = text.find("is no address"); at != std::string::npos; at = text.find("is no address", at + 1))
    ++count;
  EXPECT_EQ(count, 8U);
}

/// With a cloud that checks each signature.
class AwayDoctorCloudTest : public AwayDoctorChecksTest {
 protected:
  AwayDoctorCloudTest() {
    test::fill(keyFile_, service_.privateKeyPem());
    set("TEVANTO_CLOUDKIT_CONTAINER", CloudKitTestService::kContainer);
    set("TEVANTO_CLOUDKIT_ENVIRONMENT", "development");
    set("TEVANTO_CLOUDKIT_KEY_ID", CloudKitTestService::kKeyID);
    set("TEVANTO_CLOUDKIT_KEY_FILE", keyFile_.string());
    set("TEVANTO_CLOUDKIT_SERVICE_URL", "https://" + server_.authority());
  }

  CloudKitTestService service_;
  TestHttpServer server_{[this](const TestHttpRequest& request) { return service_.answer(request); },
                         authority_.issue({"IP:127.0.0.1"})};
  const std::filesystem::path keyFile_ = folder_.path() / "key.pem";
};

TEST_F(AwayDoctorCloudTest, findsTheContainer) {
  expectFine("cloud", StrEq("the container iCloud.org.example.tevanto (development) accepts our key"));
}

TEST_F(AwayDoctorCloudTest, saysWhatTheServiceComplainsOf) {
  service_.willFail(401, "AUTHENTICATION_FAILED");
  expectFailed("cloud", HasSubstr("CloudKit does not know our key"));
  service_.willFail(403, "ACCESS_DENIED");
  expectFailed("cloud", HasSubstr("give it access in the CloudKit console"));
  service_.willFail(503, "THROTTLED");
  expectFailed("cloud", HasSubstr("try again in a few minutes"));
  service_.willAnswer({.status = 200, .body = "no JSON"});
  expectFailed("cloud", HasSubstr("No readable answer of CloudKit"));
}

TEST_F(AwayDoctorCloudTest, saysThatTheServiceCannotBeReached) {
  const auto url = "https://127.0.0.1:" + std::to_string(portWithoutListener());
  set("TEVANTO_CLOUDKIT_SERVICE_URL", url);
  expectFailed("cloud", HasSubstr("that " + url + " can be reached"));
}

TEST_F(AwayDoctorCloudTest, noticesAKeyThatIsNone) {
  test::fill(keyFile_, "no key");
  expectFailed("cloud",
               AllOf(StartsWith("The CloudKit key cannot be used: "), HasSubstr("tevanto.cloudkit.keyFile")));
}

}  // namespace
}  // namespace tevanto
