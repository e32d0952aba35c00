// What is written to the cloud, and when.

#include "tests/p2p/transport/WebRTCTransportFixture.h"

namespace tevanto {
namespace {

using namespace test;

class WebRTCTransportCloudRecords : public WebRTCTransportTest {};

TEST_F(WebRTCTransportCloudRecords, theSameOfferViaRelayAndCloudIsAnsweredTwiceAndWrittenToTheCloud) {
  start(TransportRole::answerer);
  cloud->opens();
  signal(offerSignal("O"));
  peer()->gathers({"own", "0", 0});
  settle();
  pass(1s);
  EXPECT_THAT(cloud->written, IsEmpty());
  relay->sent.clear();
  takeLog();
  signalViaCloud(bundling(offerSignal("O"), {"c1"}));
  EXPECT_THAT(relay->takeTypes(), ElementsAre("answer", "ice"));
  EXPECT_EQ(peer()->count("setRemote O"), 1);
  EXPECT_EQ(peer()->count("add c1"), 1);
  pass(499ms);
  EXPECT_THAT(cloud->written, IsEmpty());
  pass(1ms);
  ASSERT_EQ(cloud->written.size(), 1U);
  EXPECT_EQ(cloud->written[0].first, "answer");
  EXPECT_EQ(cloud->written[0].second, bundling(answerSignal("answer of peer 1"), {"own"}));
  EXPECT_THAT(takeLog(),
              ElementsAre("[answerer] signal in: offer (cloud)",
                          "[answerer] duplicate offer replay — applying bundled candidates",
                          "[answerer] applying 1 bundled candidates (host=0, srflx=0, relay=0, other=1)",
                          "[answerer] duplicate cloud offer — writing cloud answer + 1 candidates (host=0, "
                          "srflx=0, relay=0, other=1)"));
}

TEST_F(WebRTCTransportCloudRecords, anAnswerToACloudOfferGoesToTheCloud) {
  start(TransportRole::answerer);
  cloud->opens();
  signalViaCloud(offerSignal("O"));
  pass(500ms);
  ASSERT_EQ(cloud->written.size(), 1U);
  EXPECT_EQ(cloud->written[0].second, bundling(answerSignal("answer of peer 1"), {}));
  EXPECT_TRUE(
      wasLogged("[answerer] local answer ready — writing cloud answer + 0 candidates (host=0, srflx=0, "
                "relay=0, other=0)"));
}

TEST_F(WebRTCTransportCloudRecords, theAnswerIsWrittenHalfASecondAfterItIsThere) {
  factory->holds = true;
  start(TransportRole::answerer);
  cloud->opens();
  signalViaCloud(offerSignal("O"));
  signalViaCloud(offerSignal("O"));
  peer()->gathers({"own", "0", 0});
  pass(300ms);
  peer()->completes();
  settle();
  pass(499ms);
  EXPECT_THAT(cloud->written, IsEmpty());
  pass(1ms);
  ASSERT_EQ(cloud->written.size(), 1U);
  EXPECT_EQ(cloud->written[0].second, bundling(answerSignal("answer of peer 1"), {"own"}));
}

TEST_F(WebRTCTransportCloudRecords, aReplayViaTheRelayLeavesTheCloudsRecordAsItIs) {
  start(TransportRole::answerer);
  cloud->opens();
  signalViaCloud(offerSignal("O"));
  pass(1s);
  EXPECT_EQ(cloud->written.size(), 1U);
  signal(offerSignal("O"));
  pass(1s);
  EXPECT_EQ(cloud->written.size(), 1U) << "a replay by itself is nothing new";
  peer()->gathers({"late", "0", 0});
  pass(500ms);
  ASSERT_EQ(cloud->written.size(), 2U) << "who looks into the cloud still learns of candidates";
  EXPECT_EQ(cloud->written[1].second.candidates->size(), 1U);
}

TEST_F(WebRTCTransportCloudRecords, aNewOfferViaTheRelayIsNotAnsweredInTheCloud) {
  start(TransportRole::answerer);
  cloud->opens();
  signalViaCloud(offerSignal("O"));
  pass(1s);
  cloud->written.clear();
  signal(offerSignal("O2"));
  peer()->gathers({"own", "0", 0});
  pass(1s);
  EXPECT_THAT(relay->sent.back().type, "ice");
  EXPECT_THAT(cloud->written, IsEmpty());
}

TEST_F(WebRTCTransportCloudRecords, aRecordThatHasLedToAConnectionIsConcluded) {
  start(TransportRole::answerer);
  cloud->opens();
  signalViaCloud(offerSignal("O"));
  EXPECT_EQ(cloud->conclusions, 0);
  connectFromAfar("tevanto");
  EXPECT_EQ(cloud->conclusions, 1);
}

TEST_F(WebRTCTransportCloudRecords, soIsTheRecordOfAPhoneThatTheRelayHasBrought) {
  startConnectedAnswerer();
  signalViaCloud(offerSignal("O"));
  EXPECT_EQ(cloud->conclusions, 1);
  signalViaCloud(offerSignal("another phone's"));
  EXPECT_EQ(cloud->conclusions, 1);
}

TEST_F(WebRTCTransportCloudRecords, aRecordThatHadNoPartInTheConnectionIsNot) {
  startConnectedAnswerer();
  EXPECT_EQ(cloud->conclusions, 0);
}

TEST_F(WebRTCTransportCloudRecords, aBurstOfCandidatesIsOneRecord) {
  start(TransportRole::answerer);
  cloud->opens();
  signalViaCloud(offerSignal("O"));
  pass(500ms);
  cloud->written.clear();
  for (int i = 0; i < 10; ++i) {
    peer()->gathers({"c" + std::to_string(i) + " typ host x", "0", 0});
    pass(40ms);
  }
  EXPECT_THAT(cloud->written, IsEmpty());
  pass(100ms);
  ASSERT_EQ(cloud->written.size(), 1U);
  EXPECT_EQ(cloud->written[0].second.candidates->size(), 10U);
  EXPECT_TRUE(
      wasLogged("[answerer] ice candidate — writing cloud answer + 10 candidates (host=10, srflx=0, "
                "relay=0, other=0)"));
  peer()->says(IceGatheringState::gathering);
  pass(1s);
  EXPECT_EQ(cloud->written.size(), 1U);
  peer()->says(IceGatheringState::complete);
  pass(500ms);
  EXPECT_EQ(cloud->written.size(), 2U);
  EXPECT_TRUE(
      wasLogged("[answerer] ice gathering complete — writing cloud answer + 10 candidates (host=10, "
                "srflx=0, relay=0, other=0)"));
}

TEST_F(WebRTCTransportCloudRecords, theOfferIsWrittenHalfASecondAfterItIsThere) {
  factory->holds = true;
  start(TransportRole::offerer);
  pass(500ms);
  cloud->opens();
  peer()->gathers({"c", "0", 0});
  pass(300ms);
  peer()->completes();
  settle();
  pass(499ms);
  EXPECT_THAT(cloud->written, IsEmpty());
  pass(1ms);
  ASSERT_EQ(cloud->written.size(), 1U);
  EXPECT_EQ(cloud->written[0].second, bundling(offerSignal("offer of peer 1"), {"c"}));
}

TEST_F(WebRTCTransportCloudRecords, anOfferIsWrittenOnceTheCloudIsUp) {
  start(TransportRole::offerer);
  peer()->gathers({"c", "0", 0});
  pass(500ms);
  cloud->opens();
  settle();
  EXPECT_TRUE(transport->cloudSignalingEverOpened());
  EXPECT_THAT(cloud->published, IsEmpty());
  takeLog();
  pass(500ms);
  ASSERT_EQ(cloud->written.size(), 1U);
  EXPECT_EQ(cloud->written[0].first, "offer");
  EXPECT_EQ(cloud->written[0].second, bundling(offerSignal("offer of peer 1"), {"c"}));
  EXPECT_THAT(takeLog(), ElementsAre("[offerer] cloud path up — writing cloud offer + 1 candidates (host=0, "
                                     "srflx=0, relay=0, other=1)"));
  signal(answerSignal("A"));
  peer()->gathers({"after the answer", "0", 0});
  pass(1s);
  EXPECT_EQ(cloud->written.size(), 1U);
}

}  // namespace
}  // namespace tevanto
