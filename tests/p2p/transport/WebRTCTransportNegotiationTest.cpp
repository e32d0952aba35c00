// How the two roles negotiate.

#include "tests/p2p/transport/WebRTCTransportFixture.h"

namespace tevanto {
namespace {

using namespace test;

class WebRTCTransportNegotiation : public WebRTCTransportTest {};

TEST_F(WebRTCTransportNegotiation, theOffererOffersWhenTheOfferIsSet) {
  start(TransportRole::offerer);
  EXPECT_THAT(peer()->calls, ElementsAre("channel tevanto", "createOffer", "setLocal offer of peer 1"));
  EXPECT_THAT(relay->sent, ElementsAre(offerSignal("offer of peer 1")));
  EXPECT_TRUE(peer()->created[0].second.ordered);
  EXPECT_FALSE(peer()->created[0].second.maxRetransmits);
  EXPECT_THAT(takeLog(), ElementsAre("[offerer] ice servers: 1, turn=false, relayOnly=false",
                                     "[offerer] sending offer"));
}

TEST_F(WebRTCTransportNegotiation, anOfferThatCannotBeMadeOrSetIsNotSent) {
  for (const std::string call : {"createOffer", "setLocal"}) {
    factory->failure = {{call, "no ports"}};
    start(TransportRole::offerer);
    EXPECT_TRUE(wasLogged("[offerer] createOffer: no ports")) << call;
    relay->opens();
    settle();
    EXPECT_THAT(relay->takeTypes(), ElementsAre("hello")) << call;
    pass(500ms);
    cloud->opens();
    pass(1s);
    EXPECT_THAT(cloud->written, IsEmpty());
  }
}

TEST_F(WebRTCTransportNegotiation, anAnswerIsAppliedWithItsCandidates) {
  start(TransportRole::offerer);
  takeLog();
  signal(bundling(answerSignal("A"), {"c typ host x", "c typ relay x"}));
  EXPECT_EQ(peer()->remoteType, SdpType::answer);
  EXPECT_THAT(peer()->calls,
              ::testing::IsSupersetOf({"setRemote A", "add c typ host x", "add c typ relay x"}));
  EXPECT_THAT(takeLog(),
              ElementsAre("[offerer] signal in: answer", "[offerer] answer received",
                          "[offerer] applying 2 bundled candidates (host=1, srflx=0, relay=1, other=0)"));
}

TEST_F(WebRTCTransportNegotiation, aSecondAnswerOnlyRefreshesCandidates) {
  start(TransportRole::offerer);
  signal(answerSignal("A"));
  takeLog();
  signal(answerSignal("A"));
  signal(bundling(answerSignal("A"), {}));
  EXPECT_THAT(takeLog(), ElementsAre("[offerer] signal in: answer", "[offerer] signal in: answer"));
  signalViaCloud(bundling(answerSignal("B"), {"late"}));
  EXPECT_THAT(takeLog(),
              ElementsAre("[offerer] signal in: answer (cloud)", "[offerer] answer candidate refresh: 1",
                          "[offerer] applying 1 bundled candidates (host=0, srflx=0, relay=0, other=1)"));
  EXPECT_EQ(peer()->count("add late"), 1);
  EXPECT_EQ(peer()->count("setRemote A"), 1);
  EXPECT_EQ(peer()->count("setRemote B"), 0);
}

TEST_F(WebRTCTransportNegotiation, anAnswerThatDoesNotApplyIsTriedAgain) {
  start(TransportRole::offerer);
  takeLog();
  peer()->failure = {{"setRemote", "bad fingerprint"}};
  signal(bundling(answerSignal("A"), {"c1"}));
  EXPECT_TRUE(wasLogged("[offerer] setRemoteDescription: bad fingerprint"));
  EXPECT_THAT(peer()->candidates, IsEmpty());
  peer()->failure.reset();
  signal(iceSignal("c0"));
  signalViaCloud(bundling(answerSignal("A"), {"c1"}));
  EXPECT_TRUE(wasLogged("[offerer] answer received via cloud"));
  EXPECT_EQ(peer()->count("setRemote A"), 2);
  // What came while there was no description was kept.
  EXPECT_EQ(peer()->count("add c0"), 1);
  EXPECT_EQ(peer()->count("add c1"), 1);
}

TEST_F(WebRTCTransportNegotiation, signalsWithoutWhatTheyNeedAreIgnored) {
  start(TransportRole::offerer);
  signal({.type = "answer"});
  signal({.type = "ice"});
  signal({.type = "weather"});
  signal(offerSignal("O"));  // not ours to take
  EXPECT_EQ(peer()->count("setRemote O"), 0);
  EXPECT_THAT(peer()->candidates, IsEmpty());
  EXPECT_THAT(heard, IsEmpty());
}

TEST_F(WebRTCTransportNegotiation, anAnswererIgnoresAnswersAndEmptyOffers) {
  start(TransportRole::answerer);
  signal(answerSignal("A"));
  takeLog();
  SignalMessage empty{.type = "offer"};
  empty.candidates.emplace().push_back({.candidate = "c", .sdpMid = "0", .sdpMLineIndex = 0});
  signal(empty);
  EXPECT_THAT(takeLog(), ElementsAre("[answerer] signal in: offer"));
  signal({.type = "hello"});
  EXPECT_THAT(peer()->calls, IsEmpty());
  EXPECT_THAT(relay->sent, IsEmpty());
}

TEST_F(WebRTCTransportNegotiation, noBundledCandidatesAreNothingToSpeakOf) {
  start(TransportRole::answerer);
  takeLog();
  signal(bundling(offerSignal("O"), {}));
  EXPECT_THAT(takeLog(), ElementsAre("[answerer] signal in: offer", "[answerer] offer received",
                                     "[answerer] sending answer"));
}

TEST_F(WebRTCTransportNegotiation, candidatesTravelOneByOne) {
  start(TransportRole::offerer);
  relay->sent.clear();
  peer()->gathers({"line", "mid", 3});
  settle();
  EXPECT_THAT(relay->sent, ElementsAre(SignalMessage{
                               .type = "ice", .candidate = "line", .sdpMid = "mid", .sdpMLineIndex = 3}));
}

TEST_F(WebRTCTransportNegotiation, theOfferIsReplayedToWhoeverComesLater) {
  start(TransportRole::offerer);
  peer()->gathers({"c1", "0", 0});
  peer()->gathers({"c2", "0", 0});
  settle();
  relay->sent.clear();
  takeLog();
  relay->opens();
  settle();
  EXPECT_TRUE(transport->signalingEverOpened());
  EXPECT_THAT(relay->takeTypes(), ElementsAre("hello", "offer", "ice", "ice"));
  EXPECT_THAT(takeLog(), ElementsAre("[offerer] signaling open, announcing",
                                     "[offerer] signaling open — replaying offer + 2 candidates"));
  signal({.type = "hello"});
  EXPECT_THAT(relay->takeTypes(), ElementsAre("offer", "ice", "ice"));
  EXPECT_THAT(takeLog(), ElementsAre("[offerer] signal in: hello",
                                     "[offerer] peer joined — replaying offer + 2 candidates"));
  signal(answerSignal("A"));
  relay->sent.clear();
  signal({.type = "hello"});
  EXPECT_THAT(relay->sent, IsEmpty());
}

TEST_F(WebRTCTransportNegotiation, theRelayMayOpenBeforeThereIsAnOffer) {
  factory->holds = true;
  start(TransportRole::offerer);
  relay->opens();
  settle();
  EXPECT_THAT(relay->takeTypes(), ElementsAre("hello"));
  peer()->completes();
  settle();
  EXPECT_THAT(relay->takeTypes(), ElementsAre("offer"));
}

TEST_F(WebRTCTransportNegotiation, theAnswererAnnouncesItselfAndHasNothingToReplay) {
  start(TransportRole::answerer);
  takeLog();
  relay->opens();
  settle();
  EXPECT_TRUE(transport->signalingEverOpened());
  EXPECT_THAT(relay->sent, ElementsAre(SignalMessage{.type = "hello"}));
  EXPECT_THAT(takeLog(), ElementsAre("[answerer] signaling open, announcing"));
}

TEST_F(WebRTCTransportNegotiation, theAnswererAnswersAnOffer) {
  start(TransportRole::answerer);
  relay->opens();
  settle();
  takeLog();
  relay->sent.clear();
  signal(bundling(offerSignal("O"), {"c typ srflx x"}));
  EXPECT_EQ(peer()->remoteType, SdpType::offer);
  EXPECT_THAT(peer()->calls,
              ElementsAre("setRemote O", "add c typ srflx x", "createAnswer", "setLocal answer of peer 1"));
  EXPECT_THAT(relay->sent, ElementsAre(answerSignal("answer of peer 1")));
  EXPECT_THAT(takeLog(),
              ElementsAre("[answerer] signal in: offer", "[answerer] offer received",
                          "[answerer] applying 1 bundled candidates (host=0, srflx=1, relay=0, other=0)",
                          "[answerer] sending answer"));
}

TEST_F(WebRTCTransportNegotiation, candidatesBeforeTheOfferAreNotLost) {
  start(TransportRole::answerer);
  signal(iceSignal("early 1"));
  signal(iceSignal("early 2"));
  EXPECT_THAT(peer()->candidates, IsEmpty());
  signal(offerSignal("O"));
  signal(iceSignal("late"));
  EXPECT_THAT(peer()->calls, ElementsAre("setRemote O", "add early 1", "add early 2", "createAnswer",
                                         "setLocal answer of peer 1", "add late"));
  EXPECT_EQ(peer()->candidates[0], (IceCandidate{"early 1", "0", 0}));
}

TEST_F(WebRTCTransportNegotiation, candidatesThatDoNotSayWhereTheyBelongAreOfTheFirstLine) {
  start(TransportRole::answerer);
  SignalMessage offer = offerSignal("O");
  offer.candidates.emplace().push_back({.candidate = "bundled", .sdpMid = {}, .sdpMLineIndex = {}});
  signal(offer);
  signal({.type = "ice", .candidate = "trickled"});
  EXPECT_THAT(peer()->candidates,
              ElementsAre(IceCandidate{"bundled", "", 0}, IceCandidate{"trickled", "", 0}));
}

TEST_F(WebRTCTransportNegotiation, candidatesWhileTheOfferIsBeingSetWaitForIt) {
  start(TransportRole::answerer);
  relay->receives(bundling(offerSignal("O"), {"bundled"}));
  relay->receives(iceSignal("trickled"));
  settle();
  EXPECT_THAT(peer()->calls, ElementsAre("setRemote O", "add trickled", "add bundled", "createAnswer",
                                         "setLocal answer of peer 1"));
}

TEST_F(WebRTCTransportNegotiation, aFloodOfEarlyCandidatesHasAnEnd) {
  start(TransportRole::answerer);
  for (int i = 0; i < 2000; ++i) relay->receives(iceSignal("c" + std::to_string(i)));
  signal(offerSignal("O"));
  EXPECT_EQ(peer()->candidates.size(), PeerSession::kMaxPendingCandidates);
}

TEST_F(WebRTCTransportNegotiation, aReplayBeforeTheAnswerIsReadyIsNotAnsweredYet) {
  start(TransportRole::answerer);
  relay->receives(offerSignal("O"));
  relay->receives(offerSignal("O"));
  settle();
  EXPECT_THAT(relay->takeTypes(), ElementsAre("answer"));
  EXPECT_EQ(peer()->count("setRemote O"), 1);
}

TEST_F(WebRTCTransportNegotiation, anOfferThatDoesNotApplyIsAppliedAfreshWhenItComesAgain) {
  start(TransportRole::answerer);
  takeLog();
  peer()->failure = {{"setRemote", "no media"}};
  signal(offerSignal("O"));
  EXPECT_TRUE(wasLogged("[answerer] setRemoteDescription: no media"));
  EXPECT_THAT(relay->sent, IsEmpty());
  peer()->failure.reset();
  signalViaCloud(offerSignal("O"));
  EXPECT_TRUE(wasLogged("[answerer] offer received via cloud"));
  EXPECT_THAT(relay->takeTypes(), ElementsAre("answer"));
  EXPECT_EQ(factory->made, 1);
}

TEST_F(WebRTCTransportNegotiation, anAnswerThatCannotBeMadeIsTriedWithTheNextCopyOfTheOffer) {
  start(TransportRole::answerer);
  peer()->failure = {{"createAnswer", "busy"}};
  signal(offerSignal("O"));
  EXPECT_TRUE(wasLogged("[answerer] createAnswer: busy"));
  signal(offerSignal("O"));
  EXPECT_EQ(factory->made, 2);
  EXPECT_THAT(relay->takeTypes(), ElementsAre("answer"));
}

TEST_F(WebRTCTransportNegotiation, aNewOfferWhileOneIsBeingSetIsTheOneThatIsAnswered) {
  start(TransportRole::answerer);
  relay->receives(offerSignal("O1"));
  relay->receives(offerSignal("O2"));
  settle();
  EXPECT_EQ(peer()->count("createAnswer"), 1);
  EXPECT_THAT(relay->takeTypes(), ElementsAre("answer"));
  relay->receives(offerSignal("O2"));
  settle();
  EXPECT_EQ(factory->made, 1);  // a replay of the one that is current
}

}  // namespace
}  // namespace tevanto
