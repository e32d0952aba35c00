#include "tests/screen/ScreenStreamServerFixture.h"

namespace tevanto {
namespace {

class ScreenStreamSessions : public ScreenStreamServerTest {};

TEST_F(ScreenStreamSessions, sendsParameterSetsBeforeEachKeyFrame) {
  start();
  const auto peer = mirror();
  picture(0ms);
  picture(66ms);
  EXPECT_EQ(peer->received, kParameterSets + kKeyFrame + kDeltaFrame);
}

TEST_F(ScreenStreamSessions, aRepeatedHelloOnlyForcesAKeyFrame) {
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

TEST_F(ScreenStreamSessions, aNewOwnerReplacesTheSession) {
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

TEST_F(ScreenStreamSessions, theOwnerStopsTheSession) {
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

TEST_F(ScreenStreamSessions, aKeyFrameRequestWorksOnAStillScreen) {
  start();
  const auto peer = mirror();
  picture(100ms);
  peer->received.clear();
  say(*peer, bytesOf({0x11, 0xAB, 0xCD}));
  EXPECT_EQ(peer->received, kParameterSets + kKeyFrame);
  EXPECT_EQ(encoders_.last().frames.back().time, 100ms + 66'666'667ns);
}

TEST_F(ScreenStreamSessions, messagesOfThoseWhoDoNotOwnTheSessionAreIgnored) {
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

TEST_F(ScreenStreamSessions, otherMessagesOfTheOwnerAreIgnored) {
  start();
  const auto peer = mirror();
  for (const auto& message :
       {bytesOf({0x01}), bytesOf({0x02, 1}), bytesOf({0x00}), bytesOf({0xFF}), Bytes{}}) {
    say(*peer, message);
  }
  EXPECT_TRUE(server_->isStreaming.get());
  EXPECT_FALSE(peer->isEnded());
}

TEST_F(ScreenStreamSessions, theEndOfTheOwnersConnectionEndsTheSession) {
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

TEST_F(ScreenStreamSessions, theEndOfACandidateLeavesTheSessionAlone) {
  start();
  mirror();
  const auto candidate = connect();
  candidate->fail();
  run();
  EXPECT_TRUE(candidate->isReleased());
  EXPECT_TRUE(server_->isStreaming.get());
  EXPECT_EQ(server_->statusText.get(), "Mirroring to iPhone");
}

TEST_F(ScreenStreamSessions, aCaptureErrorStopsTheSessionAndSaysWhy) {
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

TEST_F(ScreenStreamSessions, nothingOfAStoppedSessionChangesAnything) {
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

TEST_F(ScreenStreamSessions, anErrorThatWasOnItsWayWhenTheSessionEndedIsStale) {
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

TEST_F(ScreenStreamSessions, aStartThatWasOnItsWayWhenTheSessionEndedIsStale) {
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

TEST_F(ScreenStreamSessions, stopEndsEverything) {
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

TEST_F(ScreenStreamSessions, nothingHappensOnceItIsGone) {
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

TEST_F(ScreenStreamSessions, twoHundredSessionsInARowLeaveNothingBehind) {
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
