#include "screen/encode/H264Encoder.h"

#include <gtest/gtest.h>

#include "tests/support/fakes/FakeDisplayCapture.h"
#include "tests/support/fakes/FakeEncoderSession.h"

namespace tevanto {
namespace {

using namespace std::chrono_literals;
using test::bytesOf;
using test::textOf;

class H264EncoderTest : public ::testing::Test {
 protected:
  H264EncoderTest() { make(6'000'000, 15); }

  void make(std::int64_t bitRate, std::int64_t fps) {
    encoder_ = std::make_shared<H264Encoder>(factory_, bitRate, fps);
    encoder_->setConfigHandler(
        [this](auto sps, auto pps) { output_.push_back("config " + textOf(sps) + " " + textOf(pps)); });
    encoder_->setFrameHandler([this](auto data, bool isKeyframe) {
      output_.push_back((isKeyframe ? "key " : "delta ") + textOf(data));
    });
  }

  void encode(std::int64_t width = 1280, std::int64_t height = 720, PresentationTime time = 0ms) {
    encoder_->encode(picture_, time, width, height);
  }

  /// Puts `sample` out for the last frame.
  void putOut(const EncodedSample& sample, EncodeStatus status = EncodeStatus::success) {
    factory_.last().frames.back().output(status, &sample);
  }

  test::FakeEncoderSessionFactory factory_;
  std::shared_ptr<const PixelBuffer> picture_ = test::fakePicture();
  std::shared_ptr<H264Encoder> encoder_;
  std::vector<std::string> output_;
};

TEST_F(H264EncoderTest, makesItsSessionWithTheFirstPicture) {
  EXPECT_EQ(factory_.attempts, 0);
  encode(1280, 720, 40ms);
  encode(1280, 720, 80ms);
  ASSERT_EQ(factory_.made.size(), 1u);
  EXPECT_EQ(factory_.made[0].width, 1280);
  EXPECT_EQ(factory_.made[0].height, 720);
  EXPECT_EQ(factory_.made[0].codec, VideoCodec::h264);
  ASSERT_EQ(factory_.last().frames.size(), 2u);
  EXPECT_EQ(factory_.last().frames[0].picture, picture_);
  EXPECT_EQ(factory_.last().frames[1].time, 80ms);
}

TEST_F(H264EncoderTest, setsThePropertiesInTheirOrderBeforeItPrepares) {
  using Properties = std::vector<std::pair<EncoderProperty, EncoderPropertyValue>>;
  const auto expected = [](std::int64_t interval, std::int64_t bitRate, std::int64_t bytes,
                           std::int64_t fps) {
    return Properties{{EncoderProperty::realTime, true},
                      {EncoderProperty::profileLevel, EncoderProfileLevel::h264MainAutoLevel},
                      {EncoderProperty::allowFrameReordering, false},
                      {EncoderProperty::maxKeyFrameInterval, interval},
                      {EncoderProperty::maxKeyFrameIntervalDuration, std::int64_t{4}},
                      {EncoderProperty::averageBitRate, bitRate},
                      {EncoderProperty::dataRateLimits, DataRateLimit{bytes, 1s}},
                      {EncoderProperty::expectedFrameRate, fps}};
  };
  encode();
  EXPECT_EQ(factory_.last().properties, expected(60, 6'000'000, 1'125'000, 15));
  EXPECT_EQ(factory_.last().propertiesWhenPrepared, 8u);
  make(2'000'000, 12);
  encode();
  EXPECT_EQ(factory_.last().properties, expected(48, 2'000'000, 375'000, 12));
}

TEST_F(H264EncoderTest, theDataRateLimitIsOneAndAHalfTimesTheAverage) {
  struct Row {
    std::int64_t bitRate;
    std::int64_t bytes;
  };
  for (const auto& row : {Row{10, 1}, Row{0, 1}, Row{15, 1}, Row{16, 3}, Row{23, 3}, Row{24, 4}, Row{32, 6},
                          Row{2'000'000, 375'000}, Row{6'000'000, 1'125'000}}) {
    make(row.bitRate, 15);
    encode();
    const auto& [property, value] = factory_.last().properties.at(6);
    EXPECT_EQ(property, EncoderProperty::dataRateLimits);
    EXPECT_EQ(std::get<DataRateLimit>(value), (DataRateLimit{row.bytes, 1s})) << row.bitRate;
  }
}

TEST_F(H264EncoderTest, anEncoderThatLacksPropertiesIsStillUsed) {
  factory_.refusesProperties = true;
  encode();
  EXPECT_EQ(factory_.last().properties.size(), 8u);
  EXPECT_EQ(factory_.last().frames.size(), 1u);
}

TEST_F(H264EncoderTest, theFirstPictureOfEverySessionIsAKeyFrame) {
  encode();
  EXPECT_TRUE(factory_.last().lastProperties().forceKeyFrame);
  encode();
  EXPECT_FALSE(factory_.last().lastProperties().forceKeyFrame);
  const auto first = factory_.made[0].session;
  encode(960, 540);
  ASSERT_EQ(factory_.made.size(), 2u);
  EXPECT_EQ(first->invalidations, 1);
  EXPECT_TRUE(factory_.last().lastProperties().forceKeyFrame);
  encode(960, 540);
  EXPECT_FALSE(factory_.last().lastProperties().forceKeyFrame);
  encode(960, 538);
  EXPECT_EQ(factory_.made.size(), 3u);
}

TEST_F(H264EncoderTest, aKeyFrameIsPrecededByItsParameterSets) {
  factory_.answers = true;
  encode();
  encode();
  encode(960, 540);
  EXPECT_EQ(output_, (std::vector<std::string>{"config sps pps", "key key", "delta delta", "config sps pps",
                                               "key key"}));
}

TEST_F(H264EncoderTest, aRequestMakesOnePictureAKeyFrame) {
  encode();
  encoder_->requestKeyframe();
  encoder_->requestKeyframe();
  encode();
  EXPECT_TRUE(factory_.last().lastProperties().forceKeyFrame);
  encode();
  EXPECT_FALSE(factory_.last().lastProperties().forceKeyFrame);
}

TEST_F(H264EncoderTest, withoutASessionPicturesAreDroppedUntilOneCanBeMade) {
  factory_.fails = true;
  encode();
  encode();
  EXPECT_EQ(factory_.attempts, 2);
  EXPECT_TRUE(output_.empty());
  factory_.fails = false;
  encode();
  ASSERT_EQ(factory_.made.size(), 1u);
  EXPECT_TRUE(factory_.last().lastProperties().forceKeyFrame);
}

TEST_F(H264EncoderTest, aRequestSurvivesAFailedSession) {
  factory_.fails = true;
  encode(960, 540);
  factory_.fails = false;
  encode();
  EXPECT_EQ(factory_.last().frames.size(), 1u);
}

TEST_F(H264EncoderTest, tellsKeyFramesByTheNotSyncAttachment) {
  struct Row {
    std::optional<EncodedSample::Attachments> attachments;
    const char* expected;
  };
  for (const auto& row :
       {Row{std::nullopt, "key x"}, Row{EncodedSample::Attachments{std::nullopt}, "key x"},
        Row{EncodedSample::Attachments{false}, "key x"}, Row{EncodedSample::Attachments{true}, "delta x"}}) {
    output_.clear();
    encode();
    const auto data = bytesOf("x");
    EncodedSample sample;
    sample.attachments = row.attachments;
    sample.data = data;
    putOut(sample);
    EXPECT_EQ(output_, std::vector<std::string>{row.expected});
  }
}

TEST_F(H264EncoderTest, aMissingParameterSetHoldsBackBothButNotTheFrame) {
  const auto set = bytesOf("set");
  const auto data = bytesOf("x");
  for (const bool hasSps : {true, false}) {
    output_.clear();
    encode();
    EncodedSample sample;
    if (hasSps) sample.sps = set;
    if (!hasSps) sample.pps = set;
    sample.data = data;
    putOut(sample);
    EXPECT_EQ(output_, std::vector<std::string>{"key x"});
  }
}

TEST_F(H264EncoderTest, parameterSetsOfOtherFramesAreNotSent) {
  const auto bytes = bytesOf("x");
  encode();
  EncodedSample sample;
  sample.attachments = EncodedSample::Attachments{true};
  sample.sps = bytes;
  sample.pps = bytes;
  sample.data = bytes;
  putOut(sample);
  EXPECT_EQ(output_, std::vector<std::string>{"delta x"});
}

TEST_F(H264EncoderTest, outputWithoutSuccessSampleOrDataIsDropped) {
  const auto bytes = bytesOf("x");
  encode();
  EncodedSample sample;
  sample.data = bytes;
  putOut(sample, EncodeStatus::failure);
  factory_.last().frames.back().output(EncodeStatus::success, nullptr);
  putOut(EncodedSample{});
  sample.data = std::span<const std::byte>();
  putOut(sample);
  EXPECT_TRUE(output_.empty());
}

TEST_F(H264EncoderTest, outputAfterItIsGoneDoesNothing) {
  encode();
  const auto session = factory_.made[0].session;
  encoder_.reset();
  EXPECT_EQ(session->invalidations, 1);
  test::FakeEncoderSession::putOut(session->frames[0], true);
  EXPECT_TRUE(output_.empty());
}

TEST_F(H264EncoderTest, invalidateEndsTheSessionOnce) {
  encode();
  encoder_->invalidate();
  encoder_->invalidate();
  EXPECT_EQ(factory_.last().invalidations, 1);
}

TEST_F(H264EncoderTest, aHandlerMayReplaceTheHandlers) {
  factory_.answers = true;
  encoder_->setConfigHandler([this](auto, auto) {
    encoder_->setFrameHandler([this](auto, bool) { output_.emplace_back("replaced"); });
  });
  encode();
  EXPECT_EQ(output_, std::vector<std::string>{"replaced"});
}

TEST_F(H264EncoderTest, outputWithoutHandlersIsDropped) {
  factory_.answers = true;
  encoder_->setConfigHandler(nullptr);
  encoder_->setFrameHandler(nullptr);
  encode();
  EXPECT_TRUE(output_.empty());
}

TEST_F(H264EncoderTest, knowsWhetherTheLastPictureCameOutFinest) {
  const auto bytes = bytesOf("x");
  EncodedSample sample;
  sample.data = bytes;
  for (const auto finest : {std::optional(true), std::optional(false), std::optional<bool>()}) {
    encode();
    EXPECT_FALSE(encoder_->lastWasFinest()) << "nothing came out yet";
    sample.isFinest = finest;
    putOut(sample);
    EXPECT_EQ(encoder_->lastWasFinest(), finest.value_or(false));
  }
}

using H264EncoderDeathTest = H264EncoderTest;

TEST_F(H264EncoderDeathTest, aSizeBeyond32BitsEndsTheProcess) {
  EXPECT_DEATH(encode(std::int64_t{1} << 31, 720), "larger than an encoder");
  EXPECT_DEATH(encode(1280, -(std::int64_t{1} << 31) - 1), "larger than an encoder");
}

}  // namespace
}  // namespace tevanto
