#include "tests/screen/ScreenStreamServerFixture.h"

namespace tevanto {
namespace {

TEST_F(ScreenStreamServerTest, listensOnItsPortAndAdvertisesIt) {
  make(ScreenStreamServer::kDefaultPort);
  EXPECT_EQ(server_->port.get(), 0);
  server_->start();
  server_->start();
  run();
  EXPECT_EQ(listeners_.made, 1);
  EXPECT_EQ(listeners_.last->port, 51638);
  EXPECT_TRUE(listeners_.last->started);
  EXPECT_EQ(server_->port.get(), 51638);
  EXPECT_EQ(advertiser_.services,
            (std::vector<ServiceDescription>{{"Desk", "_tevanto-video._tcp", 51638, {{"id", "DEVICE"}}}}));
  EXPECT_EQ(server_->statusText.get(), "");
  advertiser_.handler({AdvertisingState::advertised, "Desk #2", ""});
  EXPECT_EQ(server_->advertising.get().name, "Desk #2");
}

TEST_F(ScreenStreamServerTest, portZeroTakesAnyFreeOne) {
  start();
  EXPECT_EQ(server_->port.get(), test::FakeListenerFactory::kFreePort);
  EXPECT_EQ(advertiser_.services.at(0).port, test::FakeListenerFactory::kFreePort);
}

TEST_F(ScreenStreamServerTest, makesAndStoresTheDeviceIdentifierWhenThereIsNone) {
  ASSERT_TRUE(defaults_.remove(kDeviceIDKey));
  start();
  const auto id = defaults_.string(kDeviceIDKey);
  ASSERT_TRUE(id);
  EXPECT_EQ(advertiser_.services.at(0).txt.at(0).second, *id);
}

TEST_F(ScreenStreamServerTest, saysWhenItCannotListen) {
  listeners_.failure = "taken";
  start();
  EXPECT_EQ(server_->statusText.get(), "Screen server failed");
  EXPECT_TRUE(advertiser_.services.empty());
  EXPECT_EQ(server_->port.get(), 0);
}

TEST_F(ScreenStreamServerTest, publishesWhetherTheScreenMayBeCaptured) {
  permission_.granted = false;
  make();
  EXPECT_FALSE(server_->isScreenRecordingTrusted.get());
  permission_.granted = true;
  EXPECT_FALSE(server_->isScreenRecordingTrusted.get());
  server_->refreshScreenRecordingTrust();
  EXPECT_TRUE(server_->isScreenRecordingTrusted.get());
}

TEST_F(ScreenStreamServerTest, aSecondClientReplacesOneThatHasNotSaidHello) {
  start();
  const auto first = connect();
  const auto second = connect();
  EXPECT_TRUE(first->isEnded());
  EXPECT_FALSE(second->isEnded());
  say(*second, hello());
  EXPECT_EQ(server_->statusText.get(), "Sharing screen…");
}

TEST_F(ScreenStreamServerTest, aClientWithoutAHelloIsCancelledAfterFiveSeconds) {
  start();
  const auto peer = connect();
  queue_->advance(4999ms);
  EXPECT_FALSE(peer->isEnded());
  queue_->advance(1ms);
  EXPECT_TRUE(peer->isEnded());
  EXPECT_EQ(server_->statusText.get(), "");
}

TEST_F(ScreenStreamServerTest, eachClientHasFiveSecondsOfItsOwn) {
  start();
  connect();
  queue_->advance(3s);
  const auto second = connect();
  queue_->advance(4999ms);
  EXPECT_FALSE(second->isEnded());
  queue_->advance(1ms);
  EXPECT_TRUE(second->isEnded());
}

TEST_F(ScreenStreamServerTest, aClientThatSaidHelloStays) {
  start();
  const auto peer = connect();
  queue_->advance(4999ms);
  say(*peer, hello());
  queue_->advance(1h);
  EXPECT_FALSE(peer->isEnded());
}

TEST_F(ScreenStreamServerTest, whatIsNoHelloDoesNotHoldOffTheTimeout) {
  start();
  const auto peer = connect();
  say(*peer, {});
  say(*peer, bytesOf({0x55}));
  say(*peer, bytesOf("\x10{\"token\":\"TOKEN\"}"));
  say(*peer, bytesOf({0x11}));
  say(*peer, bytesOf({0x12}));
  EXPECT_FALSE(peer->isEnded());
  EXPECT_EQ(server_->statusText.get(), "");
  queue_->advance(5s);
  EXPECT_TRUE(peer->isEnded());
  EXPECT_TRUE(capture_.streams.empty());
}

TEST_F(ScreenStreamServerTest, sharesAndThenMirrors) {
  start();
  const auto peer = connect();
  say(*peer, hello());
  EXPECT_EQ(server_->statusText.get(), "Sharing screen…");
  EXPECT_FALSE(server_->isStreaming.get());
  stream().onStarted({});
  run();
  EXPECT_EQ(server_->statusText.get(), "Mirroring to iPhone");
  EXPECT_TRUE(server_->isStreaming.get());
  EXPECT_EQ(stream().sampleQueue, captureQueue_);
}

TEST_F(ScreenStreamServerTest, theProfileFollowsRouteAndRequest) {
  struct Row {
    bool overTcp;
    bool prefersLowBandwidth;
    std::int64_t longSide, fps, bitRate;
  };
  for (const auto& row : {Row{true, false, 1280, 15, 6'000'000}, Row{true, true, 960, 12, 2'000'000},
                          Row{false, false, 960, 12, 2'000'000}, Row{false, true, 960, 12, 2'000'000}}) {
    SCOPED_TRACE(std::to_string(row.overTcp) + std::to_string(row.prefersLowBandwidth));
    start();
    std::shared_ptr<test::FakeScreenTransport> transport;  // until the end of its session
    if (row.overTcp) {
      say(*connect(), hello("TOKEN", row.prefersLowBandwidth));
    } else {
      transport = attach();
      say(*transport, hello("TOKEN", row.prefersLowBandwidth));
    }
    EXPECT_EQ(stream().configuration.width, row.longSide);
    EXPECT_EQ(stream().configuration.minimumFrameInterval.count(), (1'000'000'000 + row.fps / 2) / row.fps);
    picture();
    const auto& properties = encoders_.last().properties;
    EXPECT_EQ(std::get<std::int64_t>(properties.at(5).second), row.bitRate);
    EXPECT_EQ(std::get<std::int64_t>(properties.at(7).second), row.fps);
  }
}

TEST_F(ScreenStreamServerTest, onlyTheStoredTokenIsAccepted) {
  for (const auto* token : {"", "token", "TOKE", "TOKEN ", "TOKENTOKEN"}) {
    start();
    const auto peer = connect();
    say(*peer, hello(token));
    EXPECT_TRUE(peer->isEnded()) << token;
    EXPECT_EQ(server_->statusText.get(), "Rejected an unpaired iPhone") << token;
    EXPECT_TRUE(capture_.streams.empty());
  }
}

TEST_F(ScreenStreamServerTest, withoutAStoredTokenNobodyIsAccepted) {
  ASSERT_TRUE(defaults_.remove(kPairingTokenKey));
  start();
  for (const auto* token : {"", "TOKEN"}) {
    const auto peer = connect();
    say(*peer, hello(token));
    EXPECT_TRUE(peer->isEnded());
    EXPECT_EQ(server_->statusText.get(), "Rejected an unpaired iPhone");
  }
}

TEST_F(ScreenStreamServerTest, nothingOfARejectedClientIsHeardAnyMore) {
  start();
  const auto peer = connect();
  peer->send(frameText(hello("WRONG")) + frameText(hello()));
  run();
  EXPECT_TRUE(peer->isEnded());
  EXPECT_TRUE(capture_.streams.empty());
}

}  // namespace
}  // namespace tevanto
