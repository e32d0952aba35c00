// A transport may end at any moment, on any queue, and leaves nothing behind.

#include <functional>

#include "tests/p2p/transport/WebRTCTransportFixture.h"

namespace tevanto {
namespace {

using namespace test;

class WebRTCTransportStop : public WebRTCTransportTest {
 protected:
  /// Everything that could still come from outside.
  void everythingHappensOutside() {
    relay->opens();
    relay->receives(offerSignal("again"));
    relay->receives(answerSignal("again"));
    relay->receives(iceSignal("again"));
    relay->receives({.type = "hello"});
    relay->receives({.type = "bye"});
    relay->drops();
    cloud->opens();
    cloud->delivers(offerSignal("cloud"));
    cloud->isUnavailable();
    pass(1min);
  }
  void everythingHappens(FakePeerConnection& peer) {
    everythingHappensOutside();
    peer.completes();
    peer.says(IceConnectionState::failed);
    peer.says(IceGatheringState::complete);
    peer.gathers({"again", "0", 0});
    peer.opens(std::make_shared<FakeDataChannel>("tevanto"));
    transport->start(stunOnly());
    transport->upgradeIceServers(withTURN());
    pass(1min);
  }
};

TEST_F(WebRTCTransportStop, reportsWhatEndsWithItAndThenNothing) {
  startConnectedAnswerer();
  const auto screen = connectFromAfar("tevanto-screen");
  const auto motion = connectFromAfar("tevanto-motion");
  peer()->report = routeVia("relay", "relay");
  ice(IceConnectionState::connected);
  screen->receive(packets(bytesOf("12345"), 0)[0]);
  settle();
  takeHeard();
  takeLog();
  const auto last = peer();
  transport->close();
  transport->stop();
  EXPECT_THAT(heard, IsEmpty());
  settle();
  EXPECT_THAT(takeHeard(), ElementsAre("direct", "5 relayed bytes", "screen closed", "failed"));
  EXPECT_THAT(takeLog(), ElementsAre("[answerer] selected route: direct", "[answerer] transport failed"));
  EXPECT_EQ(relay->closes, 1);
  EXPECT_EQ(cloud->stops, 1);
  EXPECT_TRUE(last->isClosed);
  for (const auto& channel : {remoteControl, screen, motion}) {
    EXPECT_EQ(channel->state(), DataChannelState::closed);
    EXPECT_EQ(channel.use_count(), 2);  // the test's own, and the list's
  }
  everythingHappens(*last);
  EXPECT_THAT(heard, IsEmpty());
  EXPECT_THAT(takeLog(), IsEmpty());
  EXPECT_EQ(factory->made, 1);
}

TEST_F(WebRTCTransportStop, isSilentWhenNothingWasThere) {
  make(TransportRole::answerer)->stop();
  settle();
  transport->start(stunOnly());
  settle();
  EXPECT_THAT(heard, IsEmpty());
  EXPECT_EQ(factory->made, 0);
  EXPECT_EQ(relay->closes, 0);

  start(TransportRole::answerer);
  transport->stop();
  settle();
  EXPECT_THAT(heard, IsEmpty());
  EXPECT_EQ(factory->alive(), 0);
}

TEST_F(WebRTCTransportStop, doesNotReportAFailureTwice) {
  startConnectedAnswerer();
  transport->onChannelState = [this](ChannelState now) {
    heard.emplace_back(now == ChannelState::failed ? "failed" : "other");
    transport->stop();
  };
  takeHeard();
  ice(IceConnectionState::failed);
  EXPECT_THAT(heard, ElementsAre("failed"));
  EXPECT_EQ(factory->alive(), 0);
}

TEST_F(WebRTCTransportStop, messagesUnderWayAreNotDelivered) {
  startConnectedAnswerer();
  const auto screen = connectFromAfar("tevanto-screen");
  takeHeard();
  remoteControl->receive(bytesOf(R"({"type":"command"})"));
  screen->receive(packets(bytesOf("frame"), 0)[0]);
  transport->stop();
  settle();
  EXPECT_THAT(heard, ElementsAre("screen closed", "failed"));
  transport->send({.type = "ack"});
  EXPECT_FALSE(transport->sendScreenPayload(bytesOf({1})));
  EXPECT_FALSE(transport->sendScreenFrame(bytesOf({2}), true));
}

TEST_F(WebRTCTransportStop, leavesNoPeerAndNoTimer) {
  startConnectedOfferer(Profile::phone);
  ice(IceConnectionState::connected);
  ice(IceConnectionState::disconnected);
  EXPECT_GT(state->pendingCount(), 0U);
  transport->stop();
  settle();
  EXPECT_EQ(state->pendingCount(), 0U);
  EXPECT_EQ(main->pendingCount(), 0U);
  EXPECT_EQ(factory->alive(), 0);
}

TEST_F(WebRTCTransportStop, aTransportThatIsLetGoOfLeavesNothingEither) {
  startConnectedAnswerer();
  takeHeard();
  transport.reset();
  settle();
  EXPECT_THAT(heard, IsEmpty());
  EXPECT_EQ(factory->alive(), 0);
  EXPECT_EQ(state->pendingCount(), 0U);
  EXPECT_EQ(relay->closes, 1);
  EXPECT_EQ(cloud->stops, 1);
  EXPECT_FALSE(remoteControl->isObserved());
  relay->receives(offerSignal("O2"));
  cloud->opens();
  settle();
  EXPECT_EQ(factory->made, 1);
}

TEST_F(WebRTCTransportStop, aCallbackMayLetGoOfTheTransport) {
  startConnectedAnswerer();
  transport->onMessage = [this](const RemoteMessage&) {
    transport->onMessage = nullptr;
    transport.reset();
  };
  remoteControl->receive(bytesOf(R"({"type":"command"})"));
  settle();
  EXPECT_EQ(factory->alive(), 0);
}

TEST_F(WebRTCTransportStop, aHundredStopAtOnce) {
  std::vector<std::shared_ptr<WebRTCTransport>> all;
  for (int i = 0; i < 100; ++i) {
    start(i % 2 == 0 ? TransportRole::answerer : TransportRole::offerer, Profile::phone);
    all.push_back(transport);
  }
  EXPECT_EQ(factory->alive(), 100);
  for (const auto& one : all) one->stop();
  settle();
  EXPECT_EQ(factory->alive(), 0);
  EXPECT_EQ(state->pendingCount(), 0U);
  EXPECT_EQ(relay->closes, 100);
}

/// A queue that lets the test in before each piece of its work.
class HookedQueue final : public SerialQueue {
 public:
  HookedQueue(std::shared_ptr<SerialQueue> inner, std::function<void()> hook)
      : SerialQueue(inner->label()), inner_(std::move(inner)), hook_(std::move(hook)) {}

  void async(Task work) override { inner_->async(hooked(std::move(work))); }
  Timer asyncAfter(Duration delay, Task work) override {
    return inner_->asyncAfter(delay, hooked(std::move(work)));
  }
  void sync(Task work) override { inner_->sync(std::move(work)); }
  bool isCurrent() const override { return inner_->isCurrent(); }
  TimePoint now() const override { return inner_->now(); }

 private:
  Task hooked(Task work) const {
    return [hook = hook_, work = std::move(work)]() mutable {
      hook();
      work();
    };
  }

  const std::shared_ptr<SerialQueue> inner_;
  const std::function<void()> hook_;
};

enum class End { stop, release };

/// Ends a transport before each single piece of work that a negotiation takes.
class WebRTCTransportStopAtEachStep : public WebRTCTransportStop,
                                      public ::testing::WithParamInterface<std::tuple<TransportRole, End>> {
 protected:
  WebRTCTransportStopAtEachStep() {
    stateSide = std::make_shared<HookedQueue>(state, [this] { count(); });
    mainSide = std::make_shared<HookedQueue>(main, [this] { count(); });
  }
  void count() {
    if (steps++ != endAt) return;
    if (std::get<1>(GetParam()) == End::stop) {
      transport->stop();
    } else {
      transport.reset();
    }
  }
  void negotiate() {
    const bool offers = std::get<0>(GetParam()) == TransportRole::offerer;
    transport->start(stunOnly());
    relay->opens();
    settle();
    if (offers && transport) transport->upgradeIceServers(withTURN());
    relay->receives(offers ? answerSignal("A") : bundling(offerSignal("O"), {"c"}));
    relay->receives(iceSignal("c2"));
    settle();
    if (const auto current = peer()) connect(*current);
    relay->receives(offerSignal("O2"));
    cloud->opens();
    cloud->delivers(bundling(offerSignal("O2"), {"c3"}));
    pass(10s);
  }
  void connect(FakePeerConnection& current) {
    current.gathers({"own", "0", 0});
    current.report = routeVia("relay", "host");
    current.says(IceConnectionState::connected);
    const auto channel = std::make_shared<FakeDataChannel>("tevanto");
    current.opens(channel);
    current.opens(std::make_shared<FakeDataChannel>("tevanto-screen"));
    current.opens(std::make_shared<FakeDataChannel>("other"));
    channel->receive(bytesOf(R"({"type":"command"})"));
    settle();
    current.says(IceConnectionState::disconnected);
    settle();
  }

  int steps = 0;
  int endAt = 0;
};

TEST_P(WebRTCTransportStopAtEachStep, leavesNothing) {
  for (endAt = 0;; ++endAt) {
    steps = 0;
    make(std::get<0>(GetParam()));
    negotiate();
    if (steps <= endAt) break;  // it has come to its last step
    EXPECT_EQ(factory->alive(), 0) << "ended before step " << endAt;
    EXPECT_EQ(state->pendingCount(), 0U) << "ended before step " << endAt;
    EXPECT_EQ(main->pendingCount(), 0U) << "ended before step " << endAt;
    takeHeard();
    everythingHappensOutside();
    EXPECT_THAT(heard, IsEmpty()) << "ended before step " << endAt;
  }
  EXPECT_GT(endAt, 25);
  transport->stop();
  settle();
}

std::string nameOf(const ::testing::TestParamInfo<std::tuple<TransportRole, End>>& tested) {
  const bool offers = std::get<0>(tested.param) == TransportRole::offerer;
  return std::string(offers ? "offerer" : "answerer") +
         (std::get<1>(tested.param) == End::stop ? "Stopped" : "Released");
}

INSTANTIATE_TEST_SUITE_P(Roles, WebRTCTransportStopAtEachStep,
                         ::testing::Combine(::testing::Values(TransportRole::offerer,
                                                              TransportRole::answerer),
                                            ::testing::Values(End::stop, End::release)),
                         nameOf);

}  // namespace
}  // namespace tevanto
