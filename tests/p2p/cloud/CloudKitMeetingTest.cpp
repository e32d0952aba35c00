#include <gtest/gtest.h>

#include <future>
#include <memory>
#include <string>

#include "net/web/BeastHttpClient.h"
#include "p2p/cloud/CloudKitSignalingClient.h"
#include "p2p/cloud/CloudKitWebDatabase.h"
#include "p2p/cloud/CloudPairingInvites.h"
#include "tests/support/web/CloudKitTestService.h"

namespace tevanto {
namespace {

using std::chrono::system_clock;
using test::CloudKitTestService;
using test::TestHttpRequest;
using test::TestHttpServer;

/// Generous: a poll comes every one to three seconds, on a machine that may be busy.
constexpr std::chrono::seconds kTimeout{60};

/// Both sides, each with a database of its own, on threads as in the programs.
class CloudKitMeeting : public testing::Test {
 protected:
  ~CloudKitMeeting() override { loop_->stop(); }

  std::shared_ptr<CloudDatabase> makeDatabase() {
    return std::make_shared<CloudKitWebDatabase>(
        DeploymentSettings::CloudKit{.container = CloudKitTestService::kContainer,
                                     .environment = "development",
                                     .keyID = CloudKitTestService::kKeyID,
                                     .keyFile = {},
                                     .serviceURL = "https://" + server_.authority()},
        CloudKitServerKey::parse(CloudKitTestService::kKeyID, service_.privateKeyPem()).value(),
        CloudKitWebDatabase::Environment{
            std::make_shared<BeastHttpClient>(loop_, TlsTrust{authority_.certificatePem()}),
            loop_->makeQueue("cloud"), system_clock::now});
  }
  std::shared_ptr<CloudKitSignalingClient> makeClient(const std::string& session) {
    return std::make_shared<CloudKitSignalingClient>(CloudKitSignalingClient::Environment{
        .database = makeDatabase(),
        .queue = loop_->makeQueue(std::string(CloudKitSignalingClient::kQueueLabel)),
        .mainQueue = main_,
        .now = system_clock::now,
        .session = session,
        .log = {}});
  }

  template <class Value>
  static std::optional<Value> arrived(std::future<Value>& value) {
    if (value.wait_for(kTimeout) != std::future_status::ready) return std::nullopt;
    return value.get();
  }

  /// What `look` hands to the function that it is given.
  template <class Value, class Look>
  static std::optional<Value> lookOnce(Look look) {
    std::promise<std::optional<Value>> promise;
    auto found = promise.get_future();
    look([&promise](std::optional<Value> value) { promise.set_value(std::move(value)); });
    return found.get();
  }
  template <class Value, class Look>
  static std::optional<Value> lookUntilFound(Look look) {
    const auto deadline = std::chrono::steady_clock::now() + kTimeout;
    auto found = lookOnce<Value>(look);
    while (!found && std::chrono::steady_clock::now() < deadline) found = lookOnce<Value>(look);
    return found;
  }

  std::shared_ptr<EventLoop> loop_ = EventLoop::background(2);
  std::shared_ptr<SerialQueue> main_ = loop_->makeQueue("main");
  test::TestAuthority authority_;
  CloudKitTestService service_;
  TestHttpServer server_{[this](const TestHttpRequest& request) { return service_.answer(request); },
                         authority_.issue({"IP:127.0.0.1"})};
};

TEST_F(CloudKitMeeting, bringsOfferAnswerAndTurnServersAcross) {
  const RemoteIceServerConfig turn{{"turn:a"}, "u", "p"};
  const SignalMessage offer{.type = "offer", .sdp = "o", .candidates = {{{.candidate = "c1"}}}};
  const SignalMessage answer{.type = "answer", .sdp = "a", .candidates = {{{.candidate = "c2"}}}};
  std::promise<SignalMessage> offered;
  std::promise<SignalMessage> answered;
  auto offerArrived = offered.get_future();
  auto answerArrived = answered.get_future();

  const auto phone = makeClient("session");
  const auto mac = makeClient("unused");
  phone->onSignal = [&](SignalMessage message) { answered.set_value(std::move(message)); };
  phone->onOpen = [&] { phone->write("offer", offer); };
  mac->onSignal = [&](SignalMessage message) {
    mac->publishTURN({turn});
    mac->write("answer", answer);
    offered.set_value(std::move(message));
  };
  phone->start("room", SignalRole::phone);
  mac->start("room", SignalRole::mac);

  EXPECT_EQ(arrived(offerArrived), offer);
  EXPECT_EQ(arrived(answerArrived), answer);
  // Records are written side by side: that of the servers may come after the answer.
  const auto found = lookUntilFound<BrokeredIceServers>([&](auto done) { phone->loadTURN(done); });
  ASSERT_TRUE(found);
  EXPECT_EQ(found->servers, std::vector{turn});
  // On their main queue, after which nothing is called back.
  main_->sync([&] {
    phone->stop();
    mac->stop();
  });
  EXPECT_EQ(service_.refusedCount(), 0);
}

TEST_F(CloudKitMeeting, leavesAnInviteForThePhone) {
  CloudPairingInvites computer(makeDatabase(), system_clock::now);
  CloudPairingInvites phone(makeDatabase(), system_clock::now);
  using Found = CloudPairingInvites::Found;
  const auto look = [&](auto done) { phone.loadPairInvite("123456", done); };
  computer.publishPairInvite("123456", "room", {"device", "Computer"});
  const auto found = lookUntilFound<Found>(look);
  ASSERT_TRUE(found);
  EXPECT_EQ(found->room, "room");
  EXPECT_EQ(found->invite, (CloudPairingInvite{"device", "Computer"}));
  computer.deletePairInvite("123456");
  const auto deadline = std::chrono::steady_clock::now() + kTimeout;
  bool isGone = false;
  while (!isGone && std::chrono::steady_clock::now() < deadline) isGone = !lookOnce<Found>(look);
  EXPECT_TRUE(isGone);
}

}  // namespace
}  // namespace tevanto
