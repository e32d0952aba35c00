#include "relay/RelayConnection.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tevanto::relay {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using namespace std::chrono_literals;

/// Writes down what the connection asks of its transport; the test plays what the transport reports.
class RecordingConnection final : public RelayConnection {
 public:
  using RelayConnection::finished;
  using RelayConnection::handleBadRequest;
  using RelayConnection::handleCloseFrame;
  using RelayConnection::handleControlFrame;
  using RelayConnection::handleMessage;
  using RelayConnection::handleRequest;
  using RelayConnection::messageWritten;
  using RelayConnection::readFailed;
  using RelayConnection::RelayConnection;
  using RelayConnection::upgraded;

  std::vector<std::string> calls;
  std::vector<unsigned> statuses;

  std::vector<std::string> takeCalls() { return std::exchange(calls, {}); }

 private:
  void readRequest() override { calls.emplace_back("readRequest"); }
  void writeAnswer(HttpAnswer answer) override { calls.push_back("answer " + std::to_string(answer.status)); }
  void acceptUpgrade() override { calls.emplace_back("acceptUpgrade"); }
  void readMessage() override { calls.emplace_back("readMessage"); }
  void writeMessage(const RelayMessage& message) override { calls.push_back("write " + message.bytes); }
  void writePing() override { calls.emplace_back("ping"); }
  void writeClose(CloseCode code) override { calls.push_back("close " + std::to_string(code.code)); }
  void closeSocket(SocketEnd end) override { calls.emplace_back(end == SocketEnd::reset ? "reset" : "end"); }
};

class RelayConnectionTest : public testing::Test {
 protected:
  using Connection = std::unique_ptr<RecordingConnection>;

  explicit RelayConnectionTest(RelayOptions options = {}) : context(makeContext(std::move(options))) {}

  std::shared_ptr<RelayContext> makeContext(RelayOptions options) {
    auto trusted = TrustedProxies::parse(options.trustedProxies).value();
    return std::make_shared<RelayContext>(
        std::move(options), std::move(trusted), [this] { return now; },
        [] { return std::chrono::sys_seconds(1'700'000'000s); });
  }
  void pass(std::chrono::milliseconds time) {
    for (const auto end = now + time; now < end;) {
      now += RelayContext::kTick;
      context->wheel.advance(now);
    }
  }
  Connection accept(const char* address = "192.0.2.1") {
    auto made = std::make_unique<RecordingConnection>(context, IpAddress::parse(address).value());
    if (made->admit()) made->begin();
    return made;
  }
  static RelayRequest request(const std::string& target, bool upgrade, const std::string& forwardedFor = "") {
    RelayRequest made;
    made.method = "GET";
    made.target = target;
    made.isUpgrade = upgrade;
    made.forwardedFor = forwardedFor;
    return made;
  }
  Connection member(const std::string& room, const std::string& role, const std::string& forwardedFor = "",
                    const char* address = "192.0.2.1") {
    auto made = accept(address);
    made->handleRequest(request("/connect?room=" + room + "&role=" + role, true, forwardedFor));
    made->upgraded(true);
    return made;
  }

  TimerWheel::TimePoint now{1h};
  std::shared_ptr<RelayContext> context;
};

TEST_F(RelayConnectionTest, answersARequestAndEnds) {
  const auto connection = accept();
  connection->handleRequest(request("/healthz", false));
  EXPECT_THAT(connection->takeCalls(), ElementsAre("readRequest", "answer 200"));
  connection->finished();
  EXPECT_THAT(connection->takeCalls(), ElementsAre("end"));
  EXPECT_THAT(context->connections, IsEmpty());
  EXPECT_EQ(context->metrics.connections, 0u);
}

TEST_F(RelayConnectionTest, givesARequestTenSeconds) {
  const auto connection = accept();
  pass(9900ms);
  EXPECT_THAT(connection->takeCalls(), ElementsAre("readRequest"));
  pass(100ms);
  EXPECT_THAT(connection->takeCalls(), ElementsAre("end"));
  EXPECT_EQ(context->metrics.failedRequests, 1u);
  EXPECT_THAT(context->connections, IsEmpty());
  connection->handleRequest(request("/healthz", false));
  EXPECT_THAT(connection->takeCalls(), IsEmpty());
}

TEST_F(RelayConnectionTest, givesAnAnswerTwoSecondsToBeTaken) {
  const auto connection = accept();
  connection->handleRequest(request("/metrics", false));
  connection->takeCalls();
  pass(1900ms);
  EXPECT_THAT(connection->takeCalls(), IsEmpty());
  pass(100ms);
  EXPECT_THAT(connection->takeCalls(), ElementsAre("end"));
}

TEST_F(RelayConnectionTest, givesAnUpgradeTwoSecondsToBeTaken) {
  const auto connection = accept();
  connection->handleRequest(request("/connect?room=a&role=mac", true));
  EXPECT_THAT(connection->takeCalls(), ElementsAre("readRequest", "acceptUpgrade"));
  pass(2s);
  EXPECT_THAT(connection->takeCalls(), ElementsAre("end"));
  connection->upgraded(true);
  EXPECT_EQ(context->metrics.joins, 0u);
}

TEST_F(RelayConnectionTest, refusesBadTargetsOncePerKind) {
  for (const auto& [target, upgrade, call] : std::vector<std::tuple<std::string, bool, std::string>>{
           {"connect", true, "answer 400"},
           {"/connect?room=%x", true, "answer 400"},
           {"/connect?room=a&role=mac", false, "answer 426"},
           {"/other", true, "answer 404"}}) {
    const auto connection = accept();
    connection->handleRequest(request(target, upgrade));
    EXPECT_THAT(connection->takeCalls(), ElementsAre("readRequest", call)) << target;
  }
}

TEST_F(RelayConnectionTest, saysInACloseCodeWhatIsWrongWithRoomOrRole) {
  for (const auto& query : {"", "?room=a", "?role=mac", "?room=&role=mac", "?room=a&role=tv"}) {
    const auto connection = accept();
    connection->handleRequest(request(std::string("/connect") + query, true));
    connection->upgraded(true);
    EXPECT_THAT(connection->takeCalls(), ElementsAre("readRequest", "acceptUpgrade", "close 1008")) << query;
  }
  EXPECT_EQ(context->metrics.joins, 0u);
}

TEST_F(RelayConnectionTest, endsWhenTheUpgradeFails) {
  const auto connection = accept();
  connection->handleRequest(request("/connect?room=a&role=mac", true));
  connection->upgraded(false);
  EXPECT_THAT(connection->takeCalls(), ElementsAre("readRequest", "acceptUpgrade", "end"));
  EXPECT_EQ(context->metrics.failedRequests, 1u);
}

TEST_F(RelayConnectionTest, writesOneMessageAtATime) {
  const auto mac = member("a", "mac");
  const auto phone = member("a", "phone");
  phone->takeCalls();
  for (const auto* text : {"1", "2", "3"}) mac->handleMessage({text, true});
  EXPECT_THAT(phone->takeCalls(), ElementsAre("write 1"));
  phone->messageWritten(true);
  phone->messageWritten(true);
  phone->messageWritten(true);
  EXPECT_THAT(phone->takeCalls(), ElementsAre("write 2", "write 3"));
  mac->handleMessage({"4", true});
  EXPECT_THAT(phone->takeCalls(), ElementsAre("write 4"));
}

TEST_F(RelayConnectionTest, dropsAReaderThatHasAMegabyteWaiting) {
  const auto mac = member("a", "mac");
  const auto phone = member("a", "phone");
  for (int i = 0; i < 4; ++i) mac->handleMessage({std::string(256 * 1024, 'x'), true});
  EXPECT_EQ(context->metrics.slowReaders, 0u);
  mac->takeCalls();
  phone->takeCalls();
  mac->handleMessage({"x", true});
  EXPECT_THAT(phone->takeCalls(), ElementsAre("reset"));
  EXPECT_THAT(mac->takeCalls(), ElementsAre("readMessage"));
  EXPECT_EQ(context->metrics.slowReaders, 1u);
  EXPECT_EQ(context->metrics.phoneMembers, 0u);
  phone->messageWritten(false);
  EXPECT_THAT(phone->takeCalls(), IsEmpty());
}

TEST_F(RelayConnectionTest, givesTheOtherSideTwoSecondsToAnswerAClose) {
  const auto older = member("a", "mac");
  const auto newer = member("a", "mac");
  EXPECT_THAT(older->takeCalls(), ElementsAre("readRequest", "acceptUpgrade", "readMessage", "close 4001"));
  older->readFailed();  // the read that was under way ends with the close handshake
  pass(1900ms);
  EXPECT_THAT(older->takeCalls(), IsEmpty());
  pass(100ms);
  EXPECT_THAT(older->takeCalls(), ElementsAre("end"));
  EXPECT_EQ(context->metrics.macMembers, 1u);
  EXPECT_EQ(context->connections.size(), 1u);
}

TEST_F(RelayConnectionTest, takesNothingMoreFromWhomItCloses) {
  const auto older = member("a", "mac");
  const auto newer = member("a", "mac");
  const auto phone = member("a", "phone");
  older->takeCalls();
  phone->takeCalls();
  older->handleMessage({"late", true});
  older->handleControlFrame();
  EXPECT_THAT(older->takeCalls(), IsEmpty());
  EXPECT_THAT(phone->takeCalls(), IsEmpty());
}

TEST_F(RelayConnectionTest, leavesTheRoomWithItsCloseFrame) {
  const auto mac = member("a", "mac");
  const auto other = member("a", "phone");
  mac->takeCalls();
  mac->handleCloseFrame();
  EXPECT_EQ(context->metrics.macMembers, 0u);
  other->handleMessage({"too late", true});
  EXPECT_THAT(mac->takeCalls(), IsEmpty());
  mac->readFailed();  // once the close frame has been answered
  EXPECT_THAT(mac->takeCalls(), ElementsAre("end"));
}

TEST_F(RelayConnectionTest, givesWhoLeavesTwoSecondsToHangUp) {
  const auto mac = member("a", "mac");
  mac->handleCloseFrame();
  mac->goAway();
  mac->takeCalls();
  pass(2s);
  EXPECT_THAT(mac->takeCalls(), ElementsAre("end"));
}

TEST_F(RelayConnectionTest, freesTheSeatWhenTheStreamEnds) {
  const auto mac = member("a", "mac");
  const auto phone = member("a", "phone");
  mac->readFailed();
  EXPECT_EQ(context->metrics.macMembers, 0u);
  phone->handleMessage({"anybody?", true});
  EXPECT_EQ(context->metrics.messagesToNobody, 1u);
}

TEST_F(RelayConnectionTest, pingsAMemberAndEndsASilentOne) {
  const auto mac = member("a", "mac");
  mac->takeCalls();
  pass(75s);
  EXPECT_THAT(mac->takeCalls(), ElementsAre("ping", "ping", "close 1008"));
  pass(2s);
  EXPECT_THAT(mac->takeCalls(), ElementsAre("end"));
}

TEST_F(RelayConnectionTest, goesAwayByPhase) {
  const auto waiting = accept();
  const auto answering = accept();
  answering->handleRequest(request("/healthz", false));
  const auto mac = member("a", "mac");
  for (auto* connection : {waiting.get(), answering.get(), mac.get()}) {
    connection->takeCalls();
    connection->goAway();
    connection->goAway();
  }
  EXPECT_THAT(waiting->takeCalls(), ElementsAre("end"));
  EXPECT_THAT(answering->takeCalls(), IsEmpty());
  EXPECT_THAT(mac->takeCalls(), ElementsAre("close 1001"));
  EXPECT_EQ(context->metrics.macMembers, 0u);
}

class RelayConnectionLimitTest : public RelayConnectionTest {
 protected:
  RelayConnectionLimitTest() : RelayConnectionTest(limited()) {}
  static RelayOptions limited() {
    RelayOptions options;
    options.limits.connectionsPerAddress = 2;
    options.trustedProxies = {"127.0.0.1"};
    return options;
  }
};

TEST_F(RelayConnectionLimitTest, tellsAnAddressThatItHasTooMany) {
  const auto first = member("a", "mac");
  const auto second = member("b", "mac");
  const auto third = member("c", "mac");
  EXPECT_THAT(third->takeCalls(), ElementsAre("readRequest", "acceptUpgrade", "close 1013"));
  const auto plain = accept();
  plain->handleRequest(request("/turn-credentials", false));
  EXPECT_THAT(plain->takeCalls(), ElementsAre("readRequest", "answer 503"));
  EXPECT_EQ(context->metrics.refusedConnections, 2u);
  const auto other = member("c", "mac", "", "192.0.2.2");
  EXPECT_THAT(other->takeCalls(), ElementsAre("readRequest", "acceptUpgrade", "readMessage"));
}

TEST_F(RelayConnectionLimitTest, hangsUpOnAnAddressThatDoesNotStop) {
  const auto first = accept();
  const auto second = accept();
  std::vector<Connection> told;
  for (std::size_t i = 0; i < RelayContext::kRefusalsPerAddress; ++i) told.push_back(accept());
  EXPECT_THAT(told.back()->takeCalls(), ElementsAre("readRequest"));
  EXPECT_THAT(accept()->takeCalls(), ElementsAre("reset"));
  told.clear();
  EXPECT_THAT(accept()->takeCalls(), ElementsAre("readRequest"));
}

TEST_F(RelayConnectionLimitTest, aPlaceIsFreeAgainAfterAConnection) {
  const auto first = member("a", "mac");
  const auto second = member("b", "mac");
  first->readFailed();
  const auto third = member("c", "mac");
  EXPECT_THAT(third->takeCalls(), ElementsAre("readRequest", "acceptUpgrade", "readMessage"));
}

TEST_F(RelayConnectionLimitTest, countsWhomATrustedProxySpeaksFor) {
  const auto first = member("a", "mac", "192.0.2.7", "127.0.0.1");
  const auto second = member("b", "mac", "192.0.2.7", "127.0.0.1");
  EXPECT_THAT(member("c", "mac", "192.0.2.7", "127.0.0.1")->takeCalls(),
              ElementsAre("readRequest", "acceptUpgrade", "close 1013"));
  EXPECT_THAT(member("d", "mac", "192.0.2.8", "127.0.0.1")->takeCalls(),
              ElementsAre("readRequest", "acceptUpgrade", "readMessage"));
}

TEST_F(RelayConnectionLimitTest, ignoresTheWordOfAnybodyElse) {
  const auto first = member("a", "mac", "192.0.2.7", "198.51.100.1");
  const auto second = member("b", "mac", "192.0.2.8", "198.51.100.1");
  EXPECT_THAT(member("c", "mac", "192.0.2.9", "198.51.100.1")->takeCalls(),
              ElementsAre("readRequest", "acceptUpgrade", "close 1013"));
}

}  // namespace
}  // namespace tevanto::relay
