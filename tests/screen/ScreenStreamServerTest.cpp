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
    if (row.overTcp) {
      say(*connect(), hello("TOKEN", row.prefersLowBandwidth));
    } else {
      say(*attach(), hello("TOKEN", row.prefersLowBandwidth));
    }
    EXPECT_EQ(stream().configuration.width, row.longSide);
    EXPECT_EQ(stream().configuration.minimumFrameInterval.count(), (1'000'000'000 + row.fps / 2) / row.fps);
    if (!row.overTcp) continue;  // the transport is gone again
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

TEST_F(ScreenStreamServerTest, sendsParameterSetsBeforeEachKeyFrame) {
  start();
  const auto peer = mirror();
  picture(0ms);
  picture(66ms);
  EXPECT_EQ(peer->received, kParameterSets + kKeyFrame + kDeltaFrame);
}

TEST_F(ScreenStreamServerTest, aRepeatedHelloOnlyForcesAKeyFrame) {
  start();
  const auto peer = mirror();
  picture(0ms);
  say(*peer, hello("TOKEN", true));
  EXPECT_EQ(capture_.streams.size(), 1u);
  EXPECT_EQ(stream().stops, 0);
  EXPECT_EQ(server_->statusText.get(), "Mirroring to iPhone");
  EXPECT_FALSE(peer->isEnded());
  peer->received.clear();
  picture(66ms);
  EXPECT_EQ(peer->received, kParameterSets + kKeyFrame);
}

TEST_F(ScreenStreamServerTest, aNewOwnerReplacesTheSession) {
  start();
  const auto first = mirror();
  const auto firstStream = capture_.streams[0];
  const auto second = connect();
  EXPECT_FALSE(first->isEnded());  // not before it has said hello
  EXPECT_TRUE(server_->isStreaming.get());
  say(*second, hello());
  EXPECT_TRUE(first->isEnded());
  EXPECT_EQ(firstStream->stops, 1);
  ASSERT_EQ(capture_.streams.size(), 2u);
  EXPECT_EQ(server_->statusText.get(), "Sharing screen…");
  EXPECT_FALSE(server_->isStreaming.get());
  stream().onStarted({});
  run();
  picture();
  EXPECT_EQ(second->received, kParameterSets + kKeyFrame);
  EXPECT_TRUE(server_->isStreaming.get());
  EXPECT_EQ(server_->statusText.get(), "Mirroring to iPhone");
}

TEST_F(ScreenStreamServerTest, theOwnerStopsTheSession) {
  start();
  const auto peer = mirror();
  picture();
  say(*peer, bytesOf({0x12}));
  expectIdle();
  EXPECT_EQ(encoders_.last().invalidations, 1);
  EXPECT_FALSE(peer->isEnded());
  // The connection may begin again.
  say(*peer, hello());
  EXPECT_EQ(capture_.streams.size(), 2u);
  EXPECT_EQ(server_->statusText.get(), "Sharing screen…");
}

TEST_F(ScreenStreamServerTest, aKeyFrameRequestWorksOnAStillScreen) {
  start();
  const auto peer = mirror();
  picture(100ms);
  peer->received.clear();
  say(*peer, bytesOf({0x11, 0xAB, 0xCD}));
  EXPECT_EQ(peer->received, kParameterSets + kKeyFrame);
  EXPECT_EQ(encoders_.last().frames.back().time, 100ms + 66'666'667ns);
}

TEST_F(ScreenStreamServerTest, messagesOfThoseWhoDoNotOwnTheSessionAreIgnored) {
  start();
  const auto owner = mirror();
  picture();
  const auto transport = attach();
  const auto other = connect();
  const auto frames = encoders_.last().frames.size();
  for (const int type : {0x11, 0x12}) {
    say(*other, bytesOf({type}));
    say(*transport, bytesOf({type}));
  }
  EXPECT_EQ(encoders_.last().frames.size(), frames);
  EXPECT_TRUE(server_->isStreaming.get());
  picture();
  EXPECT_FALSE(encoders_.last().lastProperties().forceKeyFrame);
}

TEST_F(ScreenStreamServerTest, otherMessagesOfTheOwnerAreIgnored) {
  start();
  const auto peer = mirror();
  for (const auto& message :
       {bytesOf({0x01}), bytesOf({0x02, 1}), bytesOf({0x00}), bytesOf({0xFF}), Bytes{}}) {
    say(*peer, message);
  }
  EXPECT_TRUE(server_->isStreaming.get());
  EXPECT_FALSE(peer->isEnded());
}

TEST_F(ScreenStreamServerTest, theEndOfTheOwnersConnectionEndsTheSession) {
  for (const bool fails : {true, false}) {
    start();
    const auto peer = mirror();
    if (fails) {
      peer->fail();
    } else {
      peer->endStream();
    }
    run();
    expectIdle();
    EXPECT_TRUE(peer->isReleased());
  }
}

TEST_F(ScreenStreamServerTest, theEndOfACandidateLeavesTheSessionAlone) {
  start();
  mirror();
  const auto candidate = connect();
  candidate->fail();
  run();
  EXPECT_TRUE(candidate->isReleased());
  EXPECT_TRUE(server_->isStreaming.get());
  EXPECT_EQ(server_->statusText.get(), "Mirroring to iPhone");
}

TEST_F(ScreenStreamServerTest, aCaptureErrorStopsTheSessionAndSaysWhy) {
  struct Row {
    std::function<void()> fail;
    const char* message;
  };
  for (const auto& row : {
           Row{[this] { stream().handlers.onStopped("gone"); }, "Screen capture stopped"},
           Row{[this] { stream().onStarted(Failure{"no"}); }, "Screen recording permission needed"},
       }) {
    start();
    const auto peer = mirror();
    row.fail();
    run();
    expectIdle(row.message);
    EXPECT_FALSE(peer->isEnded());
  }
  capture_.displays.clear();
  start();
  const auto peer = connect();
  say(*peer, hello());
  EXPECT_EQ(server_->statusText.get(), "No display to capture");
  EXPECT_FALSE(peer->isEnded());
}

TEST_F(ScreenStreamServerTest, nothingOfAStoppedSessionChangesAnything) {
  start();
  const auto peer = mirror();
  picture();
  const auto oldStream = capture_.streams[0];
  const auto oldEncoder = encoders_.made[0].session;
  say(*peer, bytesOf({0x12}));
  say(*peer, hello());
  const auto status = server_->statusText.get();
  peer->received.clear();
  oldStream->handlers.onStopped("late");
  oldStream->onStarted({});
  oldStream->onStarted(Failure{"late"});
  oldStream->deliverPicture(1s);
  for (const bool isKeyframe : {true, false}) {
    test::FakeEncoderSession::putOut(oldEncoder->frames[0], isKeyframe);
  }
  run();
  EXPECT_EQ(server_->statusText.get(), status);
  EXPECT_FALSE(server_->isStreaming.get());
  EXPECT_EQ(peer->received, "");
  EXPECT_EQ(stream().stops, 0);
}

TEST_F(ScreenStreamServerTest, anErrorThatWasOnItsWayWhenTheSessionEndedIsStale) {
  start();
  const auto peer = mirror();
  // Already reported by the engine, but its turn comes after that of the stop message.
  peer->send(frameText(bytesOf({0x12})));
  queue_->async([&] { stream().handlers.onStopped("late"); });
  run();
  expectIdle();
  say(*peer, hello());
  EXPECT_EQ(server_->statusText.get(), "Sharing screen…");
}

TEST_F(ScreenStreamServerTest, aStartThatWasOnItsWayWhenTheSessionEndedIsStale) {
  start();
  const auto peer = connect();
  say(*peer, hello());
  stream().onStarted({});
  // The server learns of the start in a later turn; the session ends in the same one.
  queue_->sync([] {});
  EXPECT_EQ(server_->statusText.get(), "Mirroring to iPhone");
  say(*peer, bytesOf({0x12}));
  stream().onStarted({});
  run();
  expectIdle();
}

TEST_F(ScreenStreamServerTest, stopEndsEverything) {
  start();
  const auto peer = mirror();
  const auto candidate = connect();
  server_->stop();
  server_->stop();
  run();
  EXPECT_TRUE(peer->isEnded());
  EXPECT_TRUE(candidate->isEnded());
  EXPECT_TRUE(listeners_.last->cancelled);
  EXPECT_TRUE(advertiser_.registration.expired());
  EXPECT_EQ(server_->port.get(), 0);
  EXPECT_EQ(stream().stops, 1);
  EXPECT_FALSE(server_->isStreaming.get());
  queue_->advance(1min);
}

TEST_F(ScreenStreamServerTest, nothingHappensOnceItIsGone) {
  start();
  const auto peer = mirror();
  const auto transport = attach();
  picture();
  const auto oldStream = capture_.streams[0];
  const auto handlers = std::pair(transport->onScreenData, transport->onScreenChannelState);
  server_->stop();
  run();
  const std::weak_ptr<ScreenStreamServer> weak = server_;
  server_.reset();
  EXPECT_TRUE(weak.expired());
  const auto sent = peer->received;
  oldStream->deliverPicture(1s);
  oldStream->handlers.onStopped("late");
  handlers.first(hello());
  handlers.second(false);
  queue_->advance(1min);
  EXPECT_EQ(peer->received, sent);
  EXPECT_EQ(capture_.streams.size(), 1u);
}

TEST_F(ScreenStreamServerTest, twoHundredSessionsInARowLeaveNothingBehind) {
  start();
  for (int i = 0; i < 200; ++i) {
    const auto peer = mirror();
    picture();
    ASSERT_EQ(peer->received, kParameterSets + kKeyFrame);
    const std::weak_ptr<CaptureStream> running = capture_.streams.back();
    const std::weak_ptr<EncoderSession> encoding = encoders_.made.back().session;
    capture_.streams.clear();
    encoders_.made.clear();
    peer->endStream();
    run();
    ASSERT_TRUE(peer->isReleased());
    ASSERT_TRUE(running.expired());
    ASSERT_TRUE(encoding.expired());
    ASSERT_EQ(queue_->pendingCount() + captureQueue_->pendingCount(), 0u);
  }
}

}  // namespace
}  // namespace tevanto
