#include "p2p/transport/TransportFactory.h"

#include <gtest/gtest.h>

#include "tests/support/fakes/DeploymentSources.h"
#include "tests/support/fakes/FakeCloudSignaling.h"
#include "tests/support/fakes/FakeHttpClient.h"
#include "tests/support/fakes/FakePeerConnection.h"
#include "tests/support/fakes/FakeRelaySignaling.h"
#include "tests/support/fakes/ManualQueue.h"

namespace tevanto {
namespace {

using namespace std::chrono_literals;

constexpr const char* kCredentials =
    R"({"iceServers":[{"urls":["turn:fetched"],"username":"u","credential":"p"}]})";
const RemoteIceServerConfig kFetched{{"turn:fetched"}, "u", "p"};
const RemoteIceServerConfig kStun{{"stun:s:19302"}, {}, {}};

class TransportFactoryTest : public testing::Test {
 protected:
  TransportFactoryTest() {
    sources_.environment = {{"TEVANTO_STUN_HOSTS", "s"}, {"TEVANTO_RELAY_URLS", "wss://relay"}};
    const auto now = [this] { return now_; };
    const RemoteIceServerPersistentCache cache(sources_.defaults, now);
    factory_ = std::make_shared<TransportFactory>(TransportFactory::Environment{
        .makeQueue = [this](const std::string& label) { return queue(label); },
        .mainQueue = main_,
        .peers = peers_,
        .makeRelay = [this] { return relay_; },
        .makeCloud = [this] { return cloud_; },
        .iceServers = std::make_shared<IceServerSource>(sources_.settings(), cache,
                                                        TurnCredentialService(http_), now, Logger()),
        .rememberIceServers = [](const auto&) {}});
  }

  /// Work that waits in a queue holds what holds the queue: none may be left.
  void TearDown() override {
    main_->advance(10s);
    settle();
  }

  std::shared_ptr<SerialQueue> queue(const std::string& label) {
    labels_.push_back(label);
    return state_;
  }

  void settle() {
    for (int turn = 0; turn < 10; ++turn)
      for (const auto& each : {main_, state_, engine_}) each->advance(0ms);
  }
  std::vector<RemoteIceServerConfig> servers() const {
    const auto peer = peers_->newest();
    return peer ? peer->configuration.iceServers : std::vector<RemoteIceServerConfig>();
  }

  /// As much by the wall clock as by the timers.
  void pass(std::chrono::seconds time) {
    now_ += time;
    main_->advance(time);
    settle();
  }

  std::chrono::system_clock::time_point now_{1'700'000'000s};
  std::shared_ptr<test::ManualQueue> main_ = std::make_shared<test::ManualQueue>("main");
  std::shared_ptr<test::ManualQueue> state_ = std::make_shared<test::ManualQueue>("state");
  std::shared_ptr<test::ManualQueue> engine_ = std::make_shared<test::ManualQueue>("engine");
  std::vector<std::string> labels_;
  test::DeploymentSources sources_;
  std::shared_ptr<test::FakeHttpClient> http_ = std::make_shared<test::FakeHttpClient>();
  std::shared_ptr<test::FakePeerConnectionFactory> peers_ =
      std::make_shared<test::FakePeerConnectionFactory>(engine_);
  std::shared_ptr<test::FakeRelaySignaling> relay_ = std::make_shared<test::FakeRelaySignaling>();
  std::shared_ptr<test::FakeCloudSignaling> cloud_ = std::make_shared<test::FakeCloudSignaling>();
  std::shared_ptr<TransportFactory> factory_;
};

TEST_F(TransportFactoryTest, anAnswererAsksForServersBeforeItWaits) {
  http_->willAnswer(200, kCredentials);
  const auto made = factory_->makeAnswerer("ROOM");
  EXPECT_EQ(labels_, std::vector<std::string>{"tevanto.webrtc.transport"});
  made.start();
  EXPECT_EQ(peers_->made, 0);
  settle();
  EXPECT_EQ(servers(), (std::vector{kFetched, kStun}));
  EXPECT_EQ(relay_->joined, std::pair(std::string("ROOM"), SignalRole::mac));
}

TEST_F(TransportFactoryTest, anAnswererWaitsWithoutTURNWhenNobodyHandsItOut) {
  const auto made = factory_->makeAnswerer("ROOM");
  made.start();
  settle();
  EXPECT_EQ(peers_->made, 0);
  main_->advance(4s);
  settle();
  EXPECT_EQ(servers(), std::vector{kStun});
}

TEST_F(TransportFactoryTest, anAnswererSaysWhenItsServersHaveAged) {
  http_->willAnswer(200, kCredentials);
  const auto first = factory_->makeAnswerer("ROOM");
  int aged = 0;
  first.whenAged([&] { ++aged; });
  first.start();
  settle();
  pass(2000s);
  // One that begins with servers of some age says so sooner.
  const auto second = factory_->makeAnswerer("ROOM");
  second.whenAged([&] { aged += 100; });
  second.start();
  settle();
  pass(699s);
  EXPECT_EQ(aged, 0);
  pass(2s);
  EXPECT_EQ(aged, 101);
  EXPECT_EQ(http_->requests.size(), 1U);
  http_->willAnswer(200, kCredentials);
  const auto third = factory_->makeAnswerer("ROOM");
  third.start();
  settle();
  EXPECT_EQ(http_->requests.size(), 2U);
  pass(6000s);
  EXPECT_EQ(aged, 101);
}

TEST_F(TransportFactoryTest, anAnswererThatSomebodyHasCalledDoesNotAge) {
  http_->willAnswer(200, kCredentials);
  const auto made = factory_->makeAnswerer("ROOM");
  int aged = 0;
  made.whenAged([&] { ++aged; });
  made.start();
  settle();
  EXPECT_FALSE(made.transport->hasBeenOffered());
  relay_->onMessage({.type = "offer", .sdp = "an offer"});
  settle();
  EXPECT_TRUE(made.transport->hasBeenOffered());
  pass(6000s);
  EXPECT_EQ(aged, 0);
}

TEST_F(TransportFactoryTest, anAnswererThatIsGoneDoesNotAge) {
  http_->willAnswer(200, kCredentials);
  auto made = factory_->makeAnswerer("ROOM");
  int aged = 0;
  made.whenAged([&] { ++aged; });
  made.start();
  settle();
  made = {};
  pass(6000s);
  EXPECT_EQ(aged, 0);
}

TEST_F(TransportFactoryTest, anAnswererWithServersOfItsOwnDoesNotAge) {
  sources_.environment["TEVANTO_TURN_URLS"] = "turn:own";
  const auto made = factory_->makeAnswerer("ROOM");
  int aged = 0;
  made.whenAged([&] { ++aged; });
  made.start();
  settle();
  pass(6000s);
  EXPECT_EQ(aged, 0);
}

TEST_F(TransportFactoryTest, anOffererWaitsALittleForTURN) {
  http_->willAnswer(200, kCredentials);
  const auto made = factory_->makeOfferer("ROOM");
  made.start();
  EXPECT_EQ(peers_->made, 0);
  settle();
  EXPECT_EQ(servers(), (std::vector{kFetched, kStun}));
  EXPECT_EQ(peers_->made, 1);
  EXPECT_EQ(relay_->joined->second, SignalRole::phone);
}

TEST_F(TransportFactoryTest, anOffererStartsWithoutTURNWhenThatTakesLongAndAgainWhenItCame) {
  cloud_->lent = BrokeredIceServers{{kFetched}, {}};
  const auto made = factory_->makeOfferer("ROOM");
  made.start();
  main_->advance(999ms);
  settle();
  EXPECT_EQ(peers_->made, 0);
  main_->advance(1ms);
  settle();
  EXPECT_EQ(servers(), std::vector{kStun});
  main_->advance(3s);
  settle();
  EXPECT_EQ(servers(), std::vector{kFetched});
  EXPECT_EQ(peers_->made, 2);
}

TEST_F(TransportFactoryTest, anOffererBorrowsTURNThroughTheCloudWhenNoServiceAnswers) {
  cloud_->lent = BrokeredIceServers{{kFetched}, {}};
  http_->willFail("no such host");
  const auto made = factory_->makeOfferer("ROOM");
  made.start();
  main_->advance(0ms);
  settle();
  EXPECT_EQ(servers(), std::vector{kFetched});
}

TEST_F(TransportFactoryTest, anOffererThatKnowsTURNAsksNobody) {
  sources_.environment["TEVANTO_TURN_URLS"] = "turn:own";
  const auto made = factory_->makeOfferer("ROOM");
  made.start();
  settle();
  EXPECT_EQ(peers_->made, 1);
  EXPECT_TRUE(http_->requests.empty());
}

TEST_F(TransportFactoryTest, nothingStartsForATransportThatIsGone) {
  http_->willAnswer(200, kCredentials);
  auto made = factory_->makeAnswerer("ROOM");
  made.start();
  made.transport.reset();
  settle();
  EXPECT_EQ(peers_->made, 0);
}

}  // namespace
}  // namespace tevanto
