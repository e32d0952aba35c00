// What the owner hears of outages, of the route and of the end.

#include "tests/p2p/transport/WebRTCTransportFixture.h"

namespace tevanto {
namespace {

using namespace test;

class WebRTCTransportState : public WebRTCTransportTest {};

TEST_F(WebRTCTransportState, everyIceStateIsLoggedByItsName) {
  start(TransportRole::answerer);
  takeLog();
  for (const auto& [now, name] : {std::pair(IceConnectionState::new_, "new"),
                                  {IceConnectionState::checking, "checking"},
                                  {IceConnectionState::closed, "closed"},
                                  {IceConnectionState::count, "count"},
                                  {static_cast<IceConnectionState>(99), "unknown"},
                                  {IceConnectionState::connected, "connected"},
                                  {IceConnectionState::completed, "completed"},
                                  {IceConnectionState::disconnected, "disconnected"}}) {
    ice(now);
    EXPECT_THAT(takeLog(), ElementsAre("[answerer] ice: " + std::string(name)));
  }
  EXPECT_THAT(heard, IsEmpty());
  ice(IceConnectionState::failed);
  EXPECT_THAT(takeLog(), ElementsAre("[answerer] ice: failed", "[answerer] transport failed"));
  EXPECT_THAT(heard, ElementsAre("failed"));
}

TEST_F(WebRTCTransportState, anOutageIsReportedAndItsEndToo) {
  startConnectedAnswerer();
  takeHeard();
  takeLog();
  ice(IceConnectionState::disconnected);
  EXPECT_THAT(takeLog(), ElementsAre("[answerer] ice: disconnected", "[answerer] transport interrupted"));
  pass(5s);
  ice(IceConnectionState::connected);
  EXPECT_THAT(takeLog(), ElementsAre("[answerer] ice: connected", "[answerer] transport recovered"));
  ice(IceConnectionState::checking);
  takeLog();
  pass(1min);
  EXPECT_THAT(takeLog(), IsEmpty()) << "the grace is over with the outage";
  EXPECT_THAT(takeHeard(), ElementsAre("interrupted", "ready"));
}

TEST_F(WebRTCTransportState, anOutageEndsWithCompletedToo) {
  startConnectedAnswerer();
  ice(IceConnectionState::disconnected);
  takeHeard();
  for (const auto between : {IceConnectionState::new_, IceConnectionState::checking,
                             IceConnectionState::closed, IceConnectionState::count}) {
    ice(between);
    EXPECT_THAT(heard, IsEmpty());
  }
  ice(IceConnectionState::completed);
  pass(1min);
  EXPECT_THAT(heard, ElementsAre("ready"));
}

TEST_F(WebRTCTransportState, anOutageOfEightSecondsFails) {
  startConnectedAnswerer();
  takeHeard();
  ice(IceConnectionState::disconnected);
  pass(7999ms);
  EXPECT_THAT(takeHeard(), ElementsAre("interrupted"));
  takeLog();
  pass(1ms);
  EXPECT_THAT(takeHeard(), ElementsAre("failed"));
  EXPECT_THAT(takeLog(),
              ElementsAre("[answerer] ice still down after grace — failing", "[answerer] transport failed"));
}

TEST_F(WebRTCTransportState, anOutageBeforeTheFirstReadyIsNotReportedButMayFail) {
  start(TransportRole::answerer);
  ice(IceConnectionState::disconnected);
  EXPECT_THAT(heard, IsEmpty());
  ice(IceConnectionState::connected);
  EXPECT_THAT(heard, IsEmpty());
  ice(IceConnectionState::disconnected);
  pass(8s);
  EXPECT_THAT(heard, ElementsAre("failed"));
}

TEST_F(WebRTCTransportState, onlyTheSecondOfTwoOutagesMayFail) {
  startConnectedAnswerer();
  takeHeard();
  ice(IceConnectionState::disconnected);
  pass(4s);
  ice(IceConnectionState::connected);
  pass(1s);
  ice(IceConnectionState::disconnected);
  pass(7999ms);
  EXPECT_THAT(takeHeard(), ElementsAre("interrupted", "ready", "interrupted"));
  pass(1ms);
  EXPECT_THAT(takeHeard(), ElementsAre("failed"));
}

TEST_F(WebRTCTransportState, aSecondDisconnectWithoutARecoveryBeginsTheGraceAnew) {
  startConnectedAnswerer();
  takeHeard();
  ice(IceConnectionState::disconnected);
  pass(4s);
  ice(IceConnectionState::disconnected);
  pass(7999ms);
  EXPECT_THAT(takeHeard(), ElementsAre("interrupted"));
  pass(1ms);
  EXPECT_THAT(takeHeard(), ElementsAre("failed"));
}

TEST_F(WebRTCTransportState, theGraceCheckAsksThePeer) {
  startConnectedAnswerer();
  takeHeard();
  ice(IceConnectionState::disconnected);
  peer()->iceState = IceConnectionState::completed;  // its event is still on the way
  takeLog();
  pass(8s);
  EXPECT_THAT(takeLog(), ElementsAre("[answerer] ice recovered from disconnect"));
  EXPECT_THAT(takeHeard(), ElementsAre("interrupted"));
}

TEST_F(WebRTCTransportState, anOutageOfTheOldPeerDoesNotFailTheNewOne) {
  startConnectedAnswerer();
  ice(IceConnectionState::disconnected);
  pass(5s);
  signal(offerSignal("O2"));
  takeHeard();
  pass(1min);
  EXPECT_THAT(heard, IsEmpty());
}

TEST_F(WebRTCTransportState, eachStateIsReportedOnce) {
  startConnectedAnswerer();
  ice(IceConnectionState::failed);
  ice(IceConnectionState::failed);
  ice(IceConnectionState::disconnected);
  remoteControl->close();
  settle();
  EXPECT_THAT(heard, ElementsAre("ready", "failed"));
}

TEST_F(WebRTCTransportState, theRouteIsLookedAtWhenConnectedAndASecondLater) {
  startConnectedAnswerer();
  takeHeard();
  peer()->report = routeVia("host", "relay");
  takeLog();
  ice(IceConnectionState::connected);
  EXPECT_EQ(peer()->count("statistics"), 1);
  EXPECT_THAT(takeHeard(), ElementsAre("relayed"));
  EXPECT_TRUE(wasLogged("[answerer] selected route: TURN relay"));
  peer()->report = routeVia("srflx", "host");
  pass(999ms);
  EXPECT_EQ(peer()->count("statistics"), 1);
  pass(1ms);
  EXPECT_EQ(peer()->count("statistics"), 2);
  EXPECT_THAT(takeHeard(), ElementsAre("direct"));
  EXPECT_TRUE(wasLogged("[answerer] selected route: direct"));
  ice(IceConnectionState::completed);
  EXPECT_EQ(peer()->count("statistics"), 3);
  EXPECT_THAT(takeHeard(), IsEmpty());
}

TEST_F(WebRTCTransportState, theRouteIsUnknownUntilAPairIsSelectedAndAfterTheStop) {
  startConnectedAnswerer();
  EXPECT_EQ(transport->isRelayed(), std::nullopt);
  ice(IceConnectionState::connected);
  EXPECT_EQ(transport->isRelayed(), std::nullopt) << "no pair in the report";
  peer()->report = routeVia("host", "host");
  pass(1s);
  EXPECT_EQ(transport->isRelayed(), false);
  peer()->report = routeVia("relay", "host");
  ice(IceConnectionState::completed);
  EXPECT_EQ(transport->isRelayed(), true);
  transport->stop();
  settle();
  EXPECT_EQ(transport->isRelayed(), std::nullopt);
}

TEST_F(WebRTCTransportState, screenDataLooksAtTheRouteEveryFiveSecondsAtMost) {
  startConnectedAnswerer();
  const auto screen = connectFromAfar("tevanto-screen");
  ice(IceConnectionState::connected);
  pass(1s);
  EXPECT_EQ(peer()->count("statistics"), 2);
  for (int i = 0; i < 50; ++i) {
    screen->receive(packetOf("x", static_cast<std::uint32_t>(i)));
    pass(99ms);
  }
  EXPECT_EQ(peer()->count("statistics"), 2);
  pass(50ms);
  screen->receive(packetOf("x", 50));
  screen->receive(packetOf("x", 51));
  settle();
  EXPECT_EQ(peer()->count("statistics"), 3);
}

TEST_F(WebRTCTransportState, relayedScreenBytesAreFlushedWhenTheRouteBecomesDirect) {
  startConnectedAnswerer();
  peer()->report = routeVia("relay", "host");
  ice(IceConnectionState::connected);
  const auto screen = connectFromAfar("tevanto-screen");
  screen->receive(packetOf("12345"));
  settle();
  takeHeard();
  peer()->report = routeVia("host", "host");
  pass(1s);
  EXPECT_THAT(takeHeard(), ElementsAre("direct", "5 relayed bytes"));
}

}  // namespace
}  // namespace tevanto
