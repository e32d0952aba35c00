#include "tests/screen/ScreenStreamServerFixture.h"

namespace tevanto {
namespace {

class Backpressure : public ScreenStreamServerTest {
 protected:
  /// Lets the encoder put out one frame whose message has `bytes` bytes, header not counted.
  void putOut(std::size_t bytes, bool isKeyframe) {
    picture();
    const Bytes data(bytes - 2);
    EncodedSample sample;
    sample.attachments = EncodedSample::Attachments{!isKeyframe};
    sample.data = data;
    encoders_.last().frames.back().output(EncodeStatus::success, &sample);
    run();
  }
  bool nextIsForced() {
    picture();
    return encoders_.last().lastProperties().forceKeyFrame;
  }
  std::shared_ptr<test::FakeTcpPeer> stalled() {
    encoders_.answers = false;
    start();
    auto peer = mirror();
    peer->window = 0;
    EXPECT_TRUE(nextIsForced());  // the first of the session
    return peer;
  }
};

TEST_F(Backpressure, otherFramesGoUpToHalfAMebibyte) {
  const auto peer = stalled();
  putOut(524'288 - 4, false);
  EXPECT_FALSE(nextIsForced());
  putOut(3, false);
  EXPECT_TRUE(nextIsForced());
  peer->openWindow(std::string::npos);
  run();
  EXPECT_EQ(peer->received.size(), 524'288u);
  // Now only a key frame gets through, and each attempt asks for one.
  putOut(100, false);
  EXPECT_TRUE(nextIsForced());
  EXPECT_EQ(peer->received.size(), 524'288u);
  putOut(100, true);
  EXPECT_FALSE(nextIsForced());
  putOut(100, false);
  EXPECT_EQ(peer->received.size(), 524'288u + 104 + 104);
}

TEST_F(Backpressure, keyFramesGoUpToThreeMebibytes) {
  const auto peer = stalled();
  putOut(3'145'728 - 4, true);
  EXPECT_FALSE(nextIsForced());
  putOut(3, true);
  EXPECT_TRUE(nextIsForced());
  peer->openWindow(std::string::npos);
  run();
  EXPECT_EQ(peer->received.size(), 3'145'728u);
}

TEST_F(Backpressure, aFrameLargerThanItsBudgetIsRefused) {
  const auto peer = stalled();
  putOut(524'288 - 3, false);
  EXPECT_TRUE(nextIsForced());
  putOut(3'145'728 - 3, true);
  EXPECT_TRUE(nextIsForced());
  peer->openWindow(std::string::npos);
  run();
  EXPECT_EQ(peer->received.size(), 0u);
}

TEST_F(Backpressure, everyPictureIsEncodedForAPhoneThatReadsNothingAndNoneASecondTimeUntilItReads) {
  const auto peer = stalled();
  putOut(3'145'728 - 4, true);
  for (int i = 0; i < 3; ++i) putOut(1000, true);
  const auto before = encoders_.last().frames.size();
  for (int i = 0; i < 50; ++i) putOut(1000, true);
  const auto encoded = encoders_.last().frames.size();
  ASSERT_EQ(encoded, before + 50);
  for (auto i = before; i < encoded; ++i) {
    EXPECT_TRUE(encoders_.last().frames[i].properties.forceKeyFrame) << i;
  }
  queue_->advance(10s);
  EXPECT_EQ(encoders_.last().frames.size(), encoded) << "the screen stands still, and there is no room";
  peer->openWindow(std::string::npos);
  queue_->advance(2s);
  ASSERT_GT(encoders_.last().frames.size(), encoded) << "the screen stands still, and the phone lacks it";
  EXPECT_TRUE(encoders_.last().frames[encoded].properties.forceKeyFrame);
}

TEST_F(Backpressure, parameterSetsGoInAnyCase) {
  const auto peer = stalled();
  putOut(3'145'728 - 4, true);
  picture();
  test::FakeEncoderSession::putOut(encoders_.last().frames.back(), true);
  run();
  peer->openWindow(std::string::npos);
  run();
  EXPECT_EQ(peer->received.size(), 3'145'728 + kParameterSets.size());
  EXPECT_EQ(peer->received.substr(3'145'728), kParameterSets);
}

TEST_F(Backpressure, aPictureAtRestIsEncodedAFewTimesMoreAndThenNothingRuns) {
  start();
  const auto peer = mirror();
  picture();
  queue_->advance(1h);
  const auto& frames = encoders_.last().frames;
  ASSERT_EQ(frames.size(), 11u);
  for (const auto& frame : frames) EXPECT_EQ(frame.picture, frames[0].picture);
  EXPECT_EQ(captureQueue_->pendingCount(), 0u);
}

TEST_F(Backpressure, nothingIsRefinedAfterTheStop) {
  start();
  const auto peer = mirror();
  picture();
  const auto frames = encoders_.last().frames.size();
  say(*peer, screenMessage(ScreenMessageType::stop));
  queue_->advance(1h);
  EXPECT_EQ(encoders_.last().frames.size(), frames);
  EXPECT_EQ(captureQueue_->pendingCount(), 0u);
}

TEST_F(Backpressure, aRouteThatHasDrainedIsFreeEvenForAKeyFrameBeyondItsBudget) {
  const auto peer = stalled();
  putOut(3'145'728, true);  // with its header more than may ever be on its way
  const auto encoded = encoders_.last().frames.size();
  peer->openWindow(std::string::npos);
  queue_->advance(2s);
  ASSERT_GT(encoders_.last().frames.size(), encoded) << "another one may be smaller";
  EXPECT_TRUE(encoders_.last().frames[encoded].properties.forceKeyFrame);
  EXPECT_TRUE(peer->received.empty());
}

}  // namespace
}  // namespace tevanto
