// A fresh peer in the place of an old one.

#include "tests/p2p/transport/WebRTCTransportFixture.h"

namespace tevanto {
namespace {

using namespace test;

class WebRTCTransportRebuild : public WebRTCTransportTest {};

TEST_F(WebRTCTransportRebuild, aNewOfferOfALivingSessionRebuildsThePeer) {
  startConnectedAnswerer();
  const auto screen = connectFromAfar("tevanto-screen");
  const auto motion = connectFromAfar("tevanto-motion");
  peer()->report = routeVia("relay", "host");
  ice(IceConnectionState::connected);
  EXPECT_THAT(takeHeard(), ElementsAre("ready", "screen open", "relayed"));
  peer()->gathers({"old", "0", 0});
  settle();
  takeLog();
  relay->sent.clear();
  const auto old = peer();
  signal(bundling(offerSignal("O2"), {"c"}));
  EXPECT_THAT(takeHeard(), ElementsAre("screen closed", "direct"));
  EXPECT_THAT(
      takeLog(),
      ElementsAre("[answerer] signal in: offer", "[answerer] new offer — rebuilding peer for a fresh session",
                  "[answerer] selected route: direct",
                  "[answerer] ice servers: 1, turn=false, relayOnly=false", "[answerer] offer received",
                  "[answerer] applying 1 bundled candidates (host=0, srflx=0, relay=0, other=1)",
                  "[answerer] sending answer"));
  EXPECT_TRUE(old->isClosed);
  for (const auto& channel : {remoteControl, screen, motion}) {
    EXPECT_EQ(channel->state(), DataChannelState::closed);
    EXPECT_FALSE(channel->isObserved());
  }
  EXPECT_EQ(factory->made, 2);
  EXPECT_THAT(peer()->calls,
              ElementsAre("setRemote O2", "add c", "createAnswer", "setLocal answer of peer 2"));
  EXPECT_THAT(relay->sent, ElementsAre(answerSignal("answer of peer 2")));
  // The old candidates are gone, and the next ready is news.
  relay->sent.clear();
  signal(offerSignal("O2"));
  EXPECT_THAT(relay->takeTypes(), ElementsAre("answer"));
  connectFromAfar("tevanto");
  EXPECT_THAT(takeHeard(), ElementsAre("ready"));
}

TEST_F(WebRTCTransportRebuild, whatAnOldPeerStillCompletesIsNotTakenForTheNewOnes) {
  start(TransportRole::answerer);
  signal(offerSignal("O1"));
  relay->sent.clear();
  const auto old = peer();
  old->report = routeVia("relay", "host");
  old->holds = true;
  ice(IceConnectionState::connected);
  factory->holds = true;
  signal(offerSignal("O2"));
  signal(offerSignal("O3"));
  EXPECT_EQ(factory->made, 2);
  old->completes();  // statistics
  settle();
  EXPECT_THAT(heard, IsEmpty());
  const auto second = peer();
  second->completes();  // both offers, then the answer to the second
  settle();
  EXPECT_THAT(relay->takeTypes(), ElementsAre("answer"));
}

TEST_F(WebRTCTransportRebuild, theLastAnswerStandsUntilThereIsANewOne) {
  startConnectedAnswerer();
  relay->sent.clear();
  factory->holds = true;
  signal(offerSignal("O2"));
  signal(offerSignal("O2"));
  EXPECT_THAT(relay->sent, ElementsAre(answerSignal("answer of peer 1")));
  relay->sent.clear();
  peer()->completes();
  settle();
  EXPECT_THAT(relay->sent, ElementsAre(answerSignal("answer of peer 2")));
}

TEST_F(WebRTCTransportRebuild, whatCompletesAfterAnUpgradeOrAStopIsForNobody) {
  factory->holds = true;
  start(TransportRole::offerer);
  const auto old = peer();
  transport->upgradeIceServers(withTURN());
  settle();
  old->completes();
  settle();
  EXPECT_THAT(relay->sent, IsEmpty());
  const auto current = peer();
  transport->stop();
  settle();
  current->completes();
  settle();
  EXPECT_THAT(relay->sent, IsEmpty());
}

TEST_F(WebRTCTransportRebuild, anEngineThatRefusesAPeerFailsTheTransport) {
  factory->refuses = true;
  start(TransportRole::answerer);
  EXPECT_FALSE(relay->joined);
  EXPECT_TRUE(wasLogged("[answerer] transport failed"));
  signal(offerSignal("O"));
  transport->stop();
  settle();
}

TEST_F(WebRTCTransportRebuild, anEngineThatRefusesTheFreshPeerFailsTheTransport) {
  startConnectedAnswerer();
  takeHeard();
  factory->refuses = true;
  signal(offerSignal("O2"));
  EXPECT_THAT(takeHeard(), ElementsAre("failed"));
  signal(offerSignal("O2"));
  signal(iceSignal("c"));
  relay->opens();
  cloud->opens();
  pass(10s);
  EXPECT_THAT(heard, IsEmpty());
}

}  // namespace
}  // namespace tevanto
