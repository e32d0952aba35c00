// The data channels of a transport and what comes through them.

#include "tests/p2p/transport/WebRTCTransportFixture.h"

namespace tevanto {
namespace {

using namespace test;

class WebRTCTransportChannels : public WebRTCTransportTest {};

TEST_F(WebRTCTransportChannels, theAnswererAdoptsTheChannelsOfTheOtherSide) {
  start(TransportRole::answerer);
  connectFromAfar("tevanto-motion");
  EXPECT_THAT(heard, IsEmpty());
  connectFromAfar("tevanto-screen");
  connectFromAfar("tevanto");
  EXPECT_THAT(heard, ElementsAre("screen open", "ready"));
  EXPECT_TRUE(wasLogged("[answerer] data channel ready"));
}

TEST_F(WebRTCTransportChannels, aChannelThatIsStillConnectingIsReportedWhenItOpens) {
  start(TransportRole::answerer);
  const auto control = std::make_shared<FakeDataChannel>("tevanto", DataChannelState::connecting);
  const auto screen = std::make_shared<FakeDataChannel>("tevanto-screen", DataChannelState::connecting);
  const auto motion = std::make_shared<FakeDataChannel>("tevanto-motion", DataChannelState::connecting);
  for (const auto& channel : {control, screen, motion}) peer()->opens(channel);
  settle();
  EXPECT_THAT(heard, IsEmpty());
  for (const auto& channel : {control, screen, motion}) channel->becomes(DataChannelState::open);
  settle();
  EXPECT_THAT(takeHeard(), ElementsAre("ready", "screen open"));
  for (const auto& channel : {motion, screen, control}) channel->becomes(DataChannelState::closing);
  settle();
  EXPECT_THAT(heard, IsEmpty());
  for (const auto& channel : {motion, screen, control}) channel->becomes(DataChannelState::closed);
  settle();
  EXPECT_THAT(takeHeard(), ElementsAre("screen closed", "failed"));
  EXPECT_TRUE(wasLogged("[answerer] transport failed"));
}

TEST_F(WebRTCTransportChannels, aChannelThatOpensBeforeItIsAdoptedIsReportedOnce) {
  start(TransportRole::answerer);
  const auto screen = std::make_shared<FakeDataChannel>("tevanto-screen", DataChannelState::connecting);
  peer()->opens(screen);
  screen->becomes(DataChannelState::open);
  settle();
  EXPECT_THAT(heard, ElementsAre("screen open"));
}

TEST_F(WebRTCTransportChannels, channelsWithOtherLabelsAreClosedAtOnce) {
  start(TransportRole::answerer);
  takeLog();
  for (const std::string label : {"tevanto-", "Tevanto", "", "files"}) {
    const auto stranger = connectFromAfar(label);
    EXPECT_EQ(stranger->state(), DataChannelState::closed) << label;
    EXPECT_EQ(stranger.use_count(), 1);
    EXPECT_THAT(takeLog(), ElementsAre("[answerer] rejecting unknown data channel " + label));
  }
  EXPECT_THAT(heard, IsEmpty());
}

TEST_F(WebRTCTransportChannels, aSecondChannelOfALabelTakesThePlaceOfTheFirst) {
  startConnectedAnswerer();
  const auto second = connectFromAfar("tevanto");
  EXPECT_THAT(takeHeard(), ElementsAre("ready"));
  transport->send({.type = "powerState"});
  EXPECT_EQ(second->sent.size(), 1U);
  EXPECT_THAT(remoteControl->sent, IsEmpty());
  remoteControl->receive(bytesOf(R"({"type":"command"})"));
  remoteControl->close();
  settle();
  EXPECT_THAT(heard, IsEmpty());
}

TEST_F(WebRTCTransportChannels, aPhoneMakesTheOtherChannelsBesideItsOffer) {
  start(TransportRole::offerer, Profile::phone);
  EXPECT_THAT(peer()->calls,
              ElementsAre("channel tevanto", "channel tevanto-motion", "channel tevanto-screen",
                          "createOffer", "setLocal offer of peer 1"));
  for (const auto& [channel, options] : peer()->created) {
    EXPECT_TRUE(options.ordered);
    EXPECT_FALSE(options.maxRetransmits);
  }
  peer()->channel("tevanto-screen").becomes(DataChannelState::open);
  settle();
  EXPECT_THAT(heard, ElementsAre("screen open"));
}

TEST_F(WebRTCTransportChannels, anEngineThatRefusesAChannelFailsTheTransport) {
  factory->refusesChannels = true;
  make(TransportRole::offerer)->start(stunOnly());
  settle();
  EXPECT_THAT(heard, ElementsAre("handshake", "failed"));
}

TEST_F(WebRTCTransportChannels, nobodyHearsAMessageBeforeTheChannelIsReady) {
  start(TransportRole::answerer);
  const auto control = std::make_shared<FakeDataChannel>("tevanto", DataChannelState::connecting);
  const auto screen = std::make_shared<FakeDataChannel>("tevanto-screen");
  peer()->opens(control);
  peer()->opens(screen);
  // All of it before the state queue has had a turn.
  control->becomes(DataChannelState::open);
  control->receive(bytesOf(R"({"type":"sessionHello"})"));
  control->receive(bytesOf(R"({"type":"command"})"));
  screen->receive(packetOf("hello"));
  settle();
  EXPECT_THAT(heard, ElementsAre("ready", "message sessionHello", "message command", "screen open",
                                 "screen data hello"));
  control->receive(bytesOf(R"({"type":"late"})"));
  main->advance(0ms);
  EXPECT_EQ(heard.back(), "message late");
}

TEST_F(WebRTCTransportChannels, whatMovesThePointerWaitsForTheControlChannel) {
  start(TransportRole::answerer);
  const auto control = std::make_shared<FakeDataChannel>("tevanto", DataChannelState::connecting);
  const auto motion = std::make_shared<FakeDataChannel>("tevanto-motion");
  peer()->opens(control);
  peer()->opens(motion);
  motion->receive(bytesOf(R"({"type":"command"})"));
  settle();
  motion->receive(bytesOf(R"({"type":"command"})"));
  settle();
  EXPECT_THAT(heard, IsEmpty());
  control->becomes(DataChannelState::open);
  control->receive(bytesOf(R"({"type":"sessionHello"})"));
  settle();
  EXPECT_THAT(heard, ElementsAre("ready", "message sessionHello", "message command", "message command"));
  motion->receive(bytesOf(R"({"type":"late"})"));
  settle();
  EXPECT_EQ(heard.back(), "message late");
}

TEST_F(WebRTCTransportChannels, messagesGoBothWays) {
  startConnectedAnswerer();
  const auto motion = connectFromAfar("tevanto-motion");
  const auto screen = connectFromAfar("tevanto-screen");
  takeHeard();
  transport->send({.type = "ack"});
  EXPECT_EQ(textOf(remoteControl->sent.at(0)), R"({"type":"ack"})");
  EXPECT_TRUE(transport->sendScreenPayload(bytesOf({1, 2})));
  EXPECT_EQ(remoteControl->sent.at(1), bytesOf({2, 1, 2}));
  EXPECT_TRUE(transport->sendScreenFrame(bytesOf({2, 9}), true));
  EXPECT_EQ(screen->sent.size(), 1U);
  motion->receive(bytesOf(R"({"type":"command"})"));
  remoteControl->receive(bytesOf({2, 'P'}));
  screen->receive(packetOf("F"));
  settle();
  EXPECT_THAT(heard, ElementsAre("message command", "screen data P", "screen data F"));
}

TEST_F(WebRTCTransportChannels, whatWaitsForAChannelIsBounded) {
  start(TransportRole::answerer);
  const auto control = std::make_shared<FakeDataChannel>("tevanto", DataChannelState::connecting);
  peer()->opens(control);
  settle();
  const Bytes large(1024 * 1024, std::byte{2});
  for (int i = 0; i < 20; ++i) control->receive(large);
  control->becomes(DataChannelState::open);
  settle();
  EXPECT_EQ(heard.size(), 1U + 7U);  // ready, and what fits in 8 MiB
}

}  // namespace
}  // namespace tevanto
