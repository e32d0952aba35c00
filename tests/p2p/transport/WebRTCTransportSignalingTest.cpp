// The two ways to the other side: when each is taken, what the loss of one means, and TURN that comes late.

#include "tests/p2p/transport/WebRTCTransportFixture.h"

namespace tevanto {
namespace {

using namespace test;

class WebRTCTransportSignaling : public WebRTCTransportTest {};

TEST_F(WebRTCTransportSignaling, startsBothRolesAsTheyAre) {
  make(TransportRole::answerer)->start(withTURN());
  EXPECT_THAT(heard, IsEmpty());
  settle();
  EXPECT_THAT(heard, ElementsAre("handshake"));
  EXPECT_EQ(relay->joined, std::pair(std::string("ROOM"), SignalRole::mac));
  EXPECT_THAT(cloud->starts, ElementsAre(std::pair(std::string("ROOM"), SignalRole::mac)));
  EXPECT_THAT(remembered, ElementsAre(withTURN()));
  EXPECT_TRUE(transport->hasTURNServer());
  EXPECT_EQ(peer()->configuration.iceServers, withTURN());
  EXPECT_THAT(peer()->calls, IsEmpty());
  EXPECT_THAT(takeLog(), ElementsAre("[answerer] ice servers: 2, turn=true, relayOnly=false"));
  EXPECT_FALSE(transport->signalingEverOpened());
  EXPECT_FALSE(transport->cloudSignalingEverOpened());
  transport->start(stunOnly());
  settle();
  EXPECT_EQ(factory->made, 1);
}

TEST_F(WebRTCTransportSignaling, anOffererTurnsToTheCloudAfterHalfASecond) {
  start(TransportRole::offerer);
  EXPECT_EQ(relay->joined, std::pair(std::string("ROOM"), SignalRole::phone));
  EXPECT_FALSE(transport->hasTURNServer());
  pass(499ms);
  EXPECT_THAT(cloud->starts, IsEmpty());
  pass(1ms);
  EXPECT_THAT(cloud->starts, ElementsAre(std::pair(std::string("ROOM"), SignalRole::phone)));
}

TEST_F(WebRTCTransportSignaling, anOffererThatIsAnsweredFastNeedsNoCloud) {
  start(TransportRole::offerer);
  signal(answerSignal("A"));
  pass(1min);
  EXPECT_THAT(cloud->starts, IsEmpty());
}

TEST_F(WebRTCTransportSignaling, anOffererThatIsConnectedNeedsNoCloudEither) {
  start(TransportRole::offerer);
  control().becomes(DataChannelState::open);
  pass(1min);
  EXPECT_THAT(cloud->starts, IsEmpty());
}

TEST_F(WebRTCTransportSignaling, anOffererLeavesTheCloudTwoSecondsAfterItIsConnected) {
  startConnectedOfferer();
  EXPECT_THAT(heard, ElementsAre("ready"));
  pass(1999ms);
  EXPECT_EQ(cloud->stops, 0);
  pass(1ms);
  EXPECT_EQ(cloud->stops, 1);
}

TEST_F(WebRTCTransportSignaling, anAnswererStaysInTheCloud) {
  startConnectedAnswerer();
  pass(1min);
  EXPECT_EQ(cloud->stops, 0);
}

TEST_F(WebRTCTransportSignaling, anAnswererLendsItsServersWhenTheCloudIsUp) {
  make(TransportRole::answerer)->start(withTURN());
  settle();
  cloud->opens();
  settle();
  EXPECT_TRUE(transport->cloudSignalingEverOpened());
  EXPECT_THAT(cloud->published, ElementsAre(withTURN()));
  pass(1s);
  EXPECT_THAT(cloud->written, IsEmpty());
}

TEST_F(WebRTCTransportSignaling, aByeBeforeTheChannelOpensFails) {
  start(TransportRole::answerer);
  takeLog();
  signal({.type = "bye"});
  EXPECT_THAT(takeLog(), ElementsAre("[answerer] signal in: bye", "[answerer] peer left before connect",
                                     "[answerer] transport failed"));
  EXPECT_THAT(heard, ElementsAre("failed"));
}

TEST_F(WebRTCTransportSignaling, aConnectedPeerOutlivesItsSignaling) {
  startConnectedAnswerer();
  takeHeard();
  takeLog();
  signal({.type = "bye"});
  EXPECT_THAT(takeLog(),
              ElementsAre("[answerer] signal in: bye", "[answerer] bye after connect — session unaffected"));
  relay->drops();
  cloud->isUnavailable();
  settle();
  EXPECT_THAT(takeLog(), ElementsAre("[answerer] signaling dropped after connect — session unaffected"));
  pass(1min);
  EXPECT_THAT(heard, IsEmpty());
}

TEST_F(WebRTCTransportSignaling, aFreshSessionNeedsItsSignalingAgain) {
  startConnectedAnswerer();
  signal(offerSignal("O2"));
  takeHeard();
  takeLog();
  relay->drops();
  settle();
  EXPECT_THAT(takeLog(), ElementsAre("[answerer] relay unreachable — riding CloudKit only"));
  EXPECT_THAT(heard, IsEmpty());
  signal({.type = "bye"});
  EXPECT_THAT(takeLog(), ElementsAre("[answerer] signal in: bye", "[answerer] peer left before connect",
                                     "[answerer] transport failed"));
  EXPECT_THAT(heard, ElementsAre("failed"));
}

TEST_F(WebRTCTransportSignaling, theCloudCarriesOnWithoutTheRelay) {
  start(TransportRole::answerer);
  takeLog();
  relay->drops();
  settle();
  EXPECT_THAT(takeLog(), ElementsAre("[answerer] relay unreachable — riding CloudKit only"));
  EXPECT_THAT(heard, IsEmpty());
  cloud->isUnavailable();
  settle();
  EXPECT_THAT(heard, ElementsAre("failed"));
}

TEST_F(WebRTCTransportSignaling, withoutTheCloudALostRelayFails) {
  start(TransportRole::answerer);
  cloud->isUnavailable();
  settle();
  EXPECT_THAT(heard, IsEmpty());
  relay->drops();
  settle();
  EXPECT_THAT(heard, ElementsAre("failed"));
}

TEST_F(WebRTCTransportSignaling, anOffererWhoseRelayIsGoneBeforeTheCloudsTurnFails) {
  start(TransportRole::offerer);
  relay->drops();
  settle();
  EXPECT_THAT(heard, ElementsAre("failed"));
  EXPECT_THAT(cloud->starts, IsEmpty());
}

TEST_F(WebRTCTransportSignaling, aPhoneWhoseRelayIsGoneTurnsToTheCloudAtOnce) {
  start(TransportRole::offerer, Profile::phone);
  takeLog();
  relay->drops();
  settle();
  EXPECT_EQ(cloud->starts.size(), 1U);
  EXPECT_THAT(takeLog(), ElementsAre("[offerer] relay unreachable — riding CloudKit only"));
  pass(1s);
  EXPECT_EQ(cloud->starts.size(), 1U);
  EXPECT_THAT(heard, IsEmpty());
}

TEST_F(WebRTCTransportSignaling, anOffererBeginsAgainWithLateTURN) {
  start(TransportRole::offerer, Profile::phone);
  signal(answerSignal("A"));
  peer()->gathers({"old", "0", 0});
  settle();
  const auto old = peer();
  relay->sent.clear();
  takeLog();
  transport->upgradeIceServers(withTURN());
  settle();
  EXPECT_THAT(takeLog(),
              ElementsAre("[offerer] late TURN arrived — upgrading current ICE attempt",
                          "[offerer] ice servers: 2, turn=true, relayOnly=false", "[offerer] sending offer"));
  EXPECT_TRUE(old->isClosed);
  EXPECT_FALSE(old->channel("tevanto").isObserved());
  EXPECT_EQ(old->channel("tevanto").state(), DataChannelState::closed);
  EXPECT_TRUE(transport->hasTURNServer());
  EXPECT_EQ(remembered.back(), withTURN());
  EXPECT_EQ(peer()->configuration.iceServers, withTURN());
  EXPECT_EQ(peer()->created.size(), 3U);
  EXPECT_THAT(relay->sent, ElementsAre(offerSignal("offer of peer 2")));
  signal({.type = "hello"});
  EXPECT_TRUE(wasLogged("[offerer] peer joined — replaying offer + 0 candidates"));
  signal(answerSignal("A2"));
  EXPECT_EQ(peer()->count("setRemote A2"), 1);
  EXPECT_THAT(heard, IsEmpty());
}

TEST_F(WebRTCTransportSignaling, theOldOfferIsNotReplayedOnceTURNHasComeLate) {
  start(TransportRole::offerer);
  relay->sent.clear();
  factory->holds = true;
  transport->upgradeIceServers(withTURN());
  settle();
  signal({.type = "hello"});
  EXPECT_THAT(relay->sent, IsEmpty());
  peer()->completes();
  settle();
  EXPECT_THAT(relay->sent, ElementsAre(offerSignal("offer of peer 2")));
}

TEST_F(WebRTCTransportSignaling, lateTURNIsWrittenToTheCloudAgain) {
  start(TransportRole::offerer);
  pass(500ms);
  cloud->opens();
  pass(500ms);
  transport->upgradeIceServers(withTURN());
  pass(500ms);
  ASSERT_EQ(cloud->written.size(), 2U);
  EXPECT_EQ(cloud->written[1].second.sdp, "offer of peer 2");
  EXPECT_TRUE(
      wasLogged("[offerer] local offer ready — writing cloud offer + 0 candidates (host=0, srflx=0, "
                "relay=0, other=0)"));
}

TEST_F(WebRTCTransportSignaling, lateTURNEndsTheGraceOfTheOldAttempt) {
  start(TransportRole::offerer);
  ice(IceConnectionState::disconnected);
  transport->upgradeIceServers(withTURN());
  pass(1min);
  EXPECT_THAT(heard, IsEmpty());
}

TEST_F(WebRTCTransportSignaling, lateTURNIsIgnoredWhereItIsNoUse) {
  start(TransportRole::offerer);
  transport->upgradeIceServers(stunOnly());
  settle();
  EXPECT_EQ(factory->made, 1);

  start(TransportRole::answerer);
  transport->upgradeIceServers(withTURN());
  settle();
  EXPECT_EQ(factory->made, 2);
  EXPECT_FALSE(transport->hasTURNServer());

  startConnectedOfferer();
  transport->upgradeIceServers(withTURN());
  settle();
  EXPECT_EQ(factory->made, 3);

  make(TransportRole::offerer)->start(withTURN());
  settle();
  transport->upgradeIceServers(withTURN());
  settle();
  EXPECT_EQ(factory->made, 4);

  make(TransportRole::offerer)->upgradeIceServers(withTURN());
  settle();
  EXPECT_EQ(factory->made, 4);
}

}  // namespace
}  // namespace tevanto
