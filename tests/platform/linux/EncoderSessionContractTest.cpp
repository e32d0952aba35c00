// What the streaming session relies on holds of every encoder that this machine has, and of the fake.

#include <gtest/gtest.h>

#include <functional>

#include "platform/linux/LibavcodecEncoderFactory.h"
#include "tests/support/EncodedStream.h"
#include "tests/support/EncoderPictures.h"
#include "tests/support/FakeEncoderSession.h"

namespace tevanto {
namespace {

using namespace std::chrono_literals;

struct Implementation {
  const char* name;
  std::function<std::unique_ptr<EncoderSessionFactory>()> make;
};

void PrintTo(const Implementation& implementation, std::ostream* out) { *out << implementation.name; }

class EncoderSessionContract : public testing::TestWithParam<Implementation> {
 protected:
  std::shared_ptr<EncoderSession> makeSession(std::int32_t width = 320, std::int32_t height = 240) {
    auto made = factory_->create(width, height, VideoCodec::h264);
    return made ? made.value() : nullptr;
  }

  std::unique_ptr<EncoderSessionFactory> factory_ = GetParam().make();
  test::EncoderPictures pictures_{PixelFormat::i420, 320, 240};
};

TEST_P(EncoderSessionContract, takesThePropertiesOfAStream) {
  test::EncodedStream stream(makeSession());
  stream.prepare();
  EXPECT_EQ(stream.refusedProperties, 0);
}

TEST_P(EncoderSessionContract, putsOutEachPictureOnceAndInOrder) {
  test::EncodedStream stream(makeSession());
  stream.prepare();
  for (int i = 0; i < 20; ++i) {
    stream.encode(pictures_.text(i), i * 66ms, i == 0);
    ASSERT_EQ(stream.frames.size(), static_cast<std::size_t>(i) + 1);
    EXPECT_EQ(stream.frames.back().time, i * 66ms);
    EXPECT_EQ(stream.frames.back().status, EncodeStatus::success);
    EXPECT_FALSE(stream.frames.back().data.empty());
  }
}

TEST_P(EncoderSessionContract, aForcedPictureIsAKeyFrameWithParameterSets) {
  test::EncodedStream stream(makeSession());
  stream.prepare();
  for (int i = 0; i < 9; ++i) stream.encode(pictures_.text(i), i * 66ms, i % 4 == 0);
  for (int i = 0; i < 9; ++i) {
    const auto& frame = stream.frames[static_cast<std::size_t>(i)];
    EXPECT_EQ(frame.isKeyFrame, i % 4 == 0) << i;
    if (frame.isKeyFrame) {
      EXPECT_TRUE(frame.sps && frame.pps);
    }
  }
}

TEST_P(EncoderSessionContract, letsGoOfThePictureThatItHasEncoded) {
  if (std::string(GetParam().name) == "fake") return;  // it keeps them for the test to look at
  test::EncodedStream stream(makeSession());
  stream.prepare();
  const auto picture = pictures_.text(0);
  stream.encode(picture, 0ms, true);
  EXPECT_EQ(picture.use_count(), 1);
}

TEST_P(EncoderSessionContract, dropsPicturesAfterItsEnd) {
  test::EncodedStream stream(makeSession());
  stream.prepare();
  stream.encode(pictures_.text(0), 0ms, true);
  stream.session().invalidate();
  stream.session().invalidate();
  stream.encode(pictures_.text(0), 66ms, true);
  EXPECT_EQ(stream.frames.size(), 1u);
}

TEST_P(EncoderSessionContract, mayEndWithinItsOutput) {
  auto session = makeSession();
  session->prepareToEncodeFrames();
  int outputs = 0;
  auto* const encoder = session.get();
  encoder->encodeFrame(pictures_.text(0), 0ms, {true}, [&](EncodeStatus, const EncodedSample* sample) {
    encoder->invalidate();
    ++outputs;
    EXPECT_TRUE(sample && sample->data && !sample->data->empty());
  });
  EXPECT_EQ(outputs, 1);
  encoder->encodeFrame(pictures_.text(0), 66ms, {true},
                       [&](EncodeStatus, const EncodedSample*) { ++outputs; });
  EXPECT_EQ(outputs, 1);
}

TEST_P(EncoderSessionContract, sessionsOfSeveralSizesLiveSideBySide) {
  test::EncoderPictures smaller(PixelFormat::i420, 160, 120);
  test::EncodedStream first(makeSession());
  test::EncodedStream second(makeSession(160, 120));
  first.prepare();
  second.prepare();
  for (int i = 0; i < 5; ++i) {
    first.encode(pictures_.text(i), i * 66ms, i == 0);
    second.encode(smaller.text(i), i * 66ms, i == 0);
  }
  EXPECT_EQ(first.frames.size(), 5u);
  EXPECT_EQ(second.frames.size(), 5u);
  EXPECT_TRUE(second.frames.front().isKeyFrame);
}

std::string nameOf(const testing::TestParamInfo<Implementation>& info) { return info.param.name; }

INSTANTIATE_TEST_SUITE_P(
    EncodersOfThisMachine, EncoderSessionContract,
    testing::Values(Implementation{"fake",
                                   [] {
                                     auto fake = std::make_unique<test::FakeEncoderSessionFactory>();
                                     fake->answers = true;
                                     return fake;
                                   }},
                    Implementation{"best",
                                   [] { return std::make_unique<LibavcodecEncoderFactory>(Logger()); }},
                    Implementation{"libx264",
                                   [] {
                                     return std::make_unique<LibavcodecEncoderFactory>(
                                         Logger(), std::vector<std::string>{"libx264"});
                                   }}),
    nameOf);

}  // namespace
}  // namespace tevanto
