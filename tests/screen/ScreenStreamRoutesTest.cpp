#include "tests/screen/ScreenStreamServerFixture.h"

namespace tevanto {
namespace {

class TransportRoute : public ScreenStreamServerTest {
 protected:
  std::shared_ptr<test::FakeScreenTransport> mirrorOverTransport() {
    auto transport = attach();
    say(*transport, hello());
    stream().onStarted({});
    run();
    return transport;
  }
  void closeChannel(ScreenTransport& transport) {
    mainQueue_->async([&] { transport.onScreenChannelState(false); });
    run();
  }
};

TEST_F(TransportRoute, parameterSetsAndFramesTakeTheirChannels) {
  start();
  const auto transport = mirrorOverTransport();
  picture();
  picture();
  EXPECT_EQ(transport->payloads,
            std::vector<std::string>{textOf(parameterSetMessage(bytesOf("sps"), bytesOf("pps")))});
  EXPECT_EQ(transport->frames, (std::vector<std::pair<std::string, bool>>{
                                   {textOf(videoFrameMessage(bytesOf("key"), true)), true},
                                   {textOf(videoFrameMessage(bytesOf("delta"), false)), false}}));
  EXPECT_EQ(server_->statusText.get(), "Mirroring to iPhone");
}

TEST_F(TransportRoute, aRefusedFrameWaitsForTheNextKeyFrame) {
  start();
  const auto transport = mirrorOverTransport();
  picture();
  transport->accepts = false;
  picture();
  ASSERT_EQ(transport->frames.size(), 2u);
  transport->accepts = true;
  picture();  // forced to be a key frame
  EXPECT_TRUE(transport->frames.back().second);
  picture();
  EXPECT_FALSE(transport->frames.back().second);
  EXPECT_EQ(transport->frames.size(), 4u);
}

TEST_F(TransportRoute, aWrongTokenLeavesTheTransportOpen) {
  start();
  const auto transport = attach();
  say(*transport, hello("WRONG"));
  EXPECT_EQ(server_->statusText.get(), "Rejected an unpaired iPhone");
  say(*transport, hello());
  EXPECT_EQ(server_->statusText.get(), "Sharing screen…");
}

TEST_F(TransportRoute, stopAndKeyFrameRequestWorkAsOverTcp) {
  start();
  const auto transport = mirrorOverTransport();
  picture();
  say(*transport, bytesOf({0x11}));
  EXPECT_EQ(transport->frames.size(), 2u);
  EXPECT_TRUE(transport->frames.back().second);
  say(*transport, bytesOf({0x12}));
  expectIdle();
}

TEST_F(TransportRoute, theEndOfTheChannelEndsItsSession) {
  start();
  const auto transport = mirrorOverTransport();
  mainQueue_->async([&] { transport->onScreenChannelState(true); });
  run();
  EXPECT_TRUE(server_->isStreaming.get());
  closeChannel(*transport);
  expectIdle();
}

TEST_F(TransportRoute, theEndOfTheChannelLeavesASessionOverTcpAlone) {
  start();
  const auto transport = attach();
  mirror();
  closeChannel(*transport);
  EXPECT_TRUE(server_->isStreaming.get());
  EXPECT_EQ(server_->statusText.get(), "Mirroring to iPhone");
}

TEST_F(TransportRoute, aTransportThatGoesWithItsChannelStillEndsTheSession) {
  start();
  auto transport = mirrorOverTransport();
  mainQueue_->async([&] {
    transport->onScreenChannelState(false);
    transport.reset();
  });
  run();
  expectIdle();
}

TEST_F(TransportRoute, aNewTransportTakesThePlaceOfTheFormerOne) {
  start();
  const auto former = mirrorOverTransport();
  const auto next = attach();
  EXPECT_FALSE(former->onScreenData);
  EXPECT_FALSE(former->onScreenChannelState);
  expectIdle();  // nobody would hear of its end
  say(*next, hello());
  EXPECT_EQ(capture_.streams.size(), 2u);
}

TEST_F(TransportRoute, theSameTransportMayBeAttachedAgain) {
  start();
  const auto transport = mirrorOverTransport();
  mainQueue_->sync([&] { server_->attach(transport); });
  run();
  EXPECT_TRUE(transport->onScreenData);
  EXPECT_TRUE(server_->isStreaming.get());
}

TEST_F(TransportRoute, theServerDoesNotKeepTheTransport) {
  start();
  auto transport = mirrorOverTransport();
  const std::weak_ptr<ScreenTransport> weak = transport;
  transport.reset();
  EXPECT_TRUE(weak.expired());
  picture();  // refused: there is no route
  EXPECT_TRUE(server_->isStreaming.get());
}

TEST_F(TransportRoute, aRepeatedHelloOnlyForcesAKeyFrame) {
  start();
  const auto transport = mirrorOverTransport();
  picture();
  picture();
  ASSERT_FALSE(transport->frames.back().second);
  say(*transport, hello("TOKEN", true));
  EXPECT_EQ(capture_.streams.size(), 1u);
  picture();
  EXPECT_TRUE(transport->frames.back().second);
  EXPECT_TRUE(server_->isStreaming.get());
}

TEST_F(TransportRoute, aTransportThatDoesNotOwnTheSessionCannotTouchIt) {
  start();
  const auto transport = attach();
  const auto peer = mirror();
  picture();
  peer->received.clear();
  say(*transport, bytesOf({0x12}));
  say(*transport, bytesOf({0x11}));
  EXPECT_TRUE(server_->isStreaming.get());
  EXPECT_EQ(peer->received, "");
  picture();
  EXPECT_EQ(peer->received, kDeltaFrame) << "nobody asked for a key frame";
  EXPECT_TRUE(transport->frames.empty());
}

TEST_F(TransportRoute, whatIsNoMessageOfAPhoneIsIgnored) {
  start();
  const auto transport = mirrorOverTransport();
  say(*transport, {});
  say(*transport, bytesOf({0x13}));
  say(*transport, bytesOf({0x01, 0, 0, 0, 0}));
  say(*transport, bytesOf({0x02, 1}));
  say(*transport, bytesOf({0x10, '{'}));
  EXPECT_TRUE(server_->isStreaming.get());
  EXPECT_EQ(capture_.streams.size(), 1u);
}

TEST_F(TransportRoute, withoutAPairingNobodyIsAccepted) {
  start();
  defaults_.remove(kPairingTokenKey).ok();
  say(*attach(), hello(""));
  EXPECT_EQ(server_->statusText.get(), "Rejected an unpaired iPhone");
  EXPECT_TRUE(capture_.streams.empty());
}

TEST_F(TransportRoute, aDetachedTransportIsHeardNoMoreAndItsSessionEnds) {
  start();
  const auto transport = mirrorOverTransport();
  const auto other = std::make_shared<test::FakeScreenTransport>();
  mainQueue_->sync([&] {
    server_->detach(other);
    server_->detach(nullptr);
  });
  run();
  EXPECT_TRUE(transport->onScreenData);
  EXPECT_TRUE(server_->isStreaming.get());
  mainQueue_->sync([&] { server_->detach(transport); });
  run();
  EXPECT_FALSE(transport->onScreenData);
  EXPECT_FALSE(transport->onScreenChannelState);
  expectIdle();
  mainQueue_->sync([&] { server_->detach(transport); });
  say(*attach(), hello());
  EXPECT_EQ(server_->statusText.get(), "Sharing screen…");
}

TEST_F(TransportRoute, detachingLeavesASessionOverTcpAlone) {
  start();
  const auto transport = attach();
  mirror();
  mainQueue_->sync([&] { server_->detach(transport); });
  run();
  EXPECT_TRUE(server_->isStreaming.get());
}

TEST_F(TransportRoute, whatWasOnItsWayWhenItWasDetachedStartsNoSession) {
  start();
  const auto transport = attach();
  mainQueue_->sync([&] {
    transport->onScreenData(hello());
    server_->detach(transport);
  });
  run();
  EXPECT_FALSE(server_->isStreaming.get());
  EXPECT_EQ(server_->statusText.get(), "");
  for (const auto& made : capture_.streams) EXPECT_EQ(made->stops, 1);
}

TEST_F(TransportRoute, nothingOfAReplacedSessionReachesTheTransport) {
  encoders_.answers = false;
  start();
  const auto transport = mirrorOverTransport();
  picture();
  const auto late = encoders_.last().frames.back();
  const auto formerStream = capture_.streams.back();
  say(*connect(), hello());
  test::FakeEncoderSession::putOut(late, true);
  run();
  EXPECT_TRUE(transport->frames.empty());
  EXPECT_TRUE(transport->payloads.empty());
  formerStream->onStarted({});
  run();
  EXPECT_EQ(server_->statusText.get(), "Sharing screen…");
  EXPECT_FALSE(server_->isStreaming.get());
}

TEST_F(TransportRoute, oneThatTakesNothingIsOfferedAKeyFrameOfEachPicture) {
  start();
  const auto transport = mirrorOverTransport();
  picture();
  transport->accepts = false;
  for (int i = 0; i < 10; ++i) picture();
  const auto refused = transport->frames.size();
  EXPECT_EQ(refused, 1u + 10);
  for (std::size_t i = 2; i < refused; ++i) EXPECT_TRUE(transport->frames[i].second) << i;
  transport->accepts = true;
  picture();
  EXPECT_EQ(transport->frames.size(), refused + 1);
  EXPECT_TRUE(transport->frames.back().second);
}

TEST_F(TransportRoute, aStoppedServerStartsNoSessionForATransportThatTalksOn) {
  start();
  const auto transport = mirrorOverTransport();
  server_->stop();
  run();
  expectIdle();
  say(*transport, hello());
  EXPECT_EQ(capture_.streams.size(), 1u);
  server_->start();
  run();
  say(*transport, hello());
  EXPECT_EQ(capture_.streams.size(), 2u);
}

TEST_F(TransportRoute, anEndedServerIsNotReached) {
  start();
  const auto transport = attach();
  end();
  mainQueue_->sync([&] {
    transport->onScreenData(hello());
    transport->onScreenChannelState(false);
  });
  run();
  EXPECT_TRUE(capture_.streams.empty());
}

TEST_F(TransportRoute, theNewestOwnerWinsAcrossTheRoutes) {
  start();
  const auto peer = mirror();
  const auto transport = attach();
  say(*transport, hello());
  EXPECT_EQ(capture_.streams[0]->stops, 1);
  EXPECT_FALSE(peer->isEnded());
  say(*peer, bytesOf({0x12}));  // no longer the owner
  EXPECT_EQ(server_->statusText.get(), "Sharing screen…");
  say(*peer, hello());
  EXPECT_EQ(capture_.streams.size(), 3u);
  EXPECT_EQ(capture_.streams[1]->stops, 1);
}

}  // namespace
}  // namespace tevanto
