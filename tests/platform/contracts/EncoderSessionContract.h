#pragma once

// What the streaming session relies on in every encoder. A test program includes this once and names the
// implementations that it has (INSTANTIATE_TEST_SUITE_P).

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <ostream>
#include <string>

#include "tests/support/programs/Eventually.h"
#include "tests/support/video/EncodedStream.h"

namespace tevanto::test {

using namespace std::chrono_literals;

/// Pictures of one size that an implementation can encode.
class EncoderInput {
 public:
  virtual ~EncoderInput() = default;
  /// A page of text, `offset` rows further down on it.
  virtual std::shared_ptr<const PixelBuffer> text(int offset) = 0;
};

struct EncoderImplementation {
  const char* name;
  std::function<std::unique_ptr<EncoderSessionFactory>()> make;
  std::function<std::unique_ptr<EncoderInput>(int width, int height)> makeInput;
  bool keepsPictures = false;  // for the test to look at
};

inline void PrintTo(const EncoderImplementation& implementation, std::ostream* out) {
  *out << implementation.name;
}
inline std::string nameOf(const testing::TestParamInfo<EncoderImplementation>& info) {
  return info.param.name;
}

class EncoderSessionContract : public testing::TestWithParam<EncoderImplementation> {
 protected:
  std::shared_ptr<EncoderSession> makeSession(std::int32_t width = 320, std::int32_t height = 240) {
    auto made = factory_->create(width, height, VideoCodec::h264);
    return made ? made.value() : nullptr;
  }

  std::unique_ptr<EncoderSessionFactory> factory_ = GetParam().make();
  std::unique_ptr<EncoderInput> pictures_ = GetParam().makeInput(320, 240);
};

TEST_P(EncoderSessionContract, takesThePropertiesOfAStream) {
  EncodedStream stream(makeSession());
  stream.prepare();
  EXPECT_EQ(stream.refusedProperties, 0);
}

TEST_P(EncoderSessionContract, putsOutEachPictureOnceAndInOrder) {
  EncodedStream stream(makeSession());
  stream.prepare();
  for (int i = 0; i < 20; ++i) {
    stream.encode(pictures_->text(i), i * 66ms, i == 0);
    ASSERT_TRUE(stream.hasPutOut(static_cast<std::size_t>(i) + 1));
    ASSERT_EQ(stream.frames.size(), static_cast<std::size_t>(i) + 1);
    EXPECT_EQ(stream.frames.back().time, i * 66ms);
    EXPECT_EQ(stream.frames.back().status, EncodeStatus::success);
    EXPECT_FALSE(stream.frames.back().data.empty());
  }
}

TEST_P(EncoderSessionContract, aForcedPictureIsAKeyFrameWithParameterSets) {
  EncodedStream stream(makeSession());
  stream.prepare();
  for (int i = 0; i < 9; ++i) {
    stream.encode(pictures_->text(i), i * 66ms, i % 4 == 0);
    ASSERT_TRUE(stream.hasPutOut(static_cast<std::size_t>(i) + 1));
  }
  for (int i = 0; i < 9; ++i) {
    const auto& frame = stream.frames[static_cast<std::size_t>(i)];
    EXPECT_EQ(frame.isKeyFrame, i % 4 == 0) << i;
    if (frame.isKeyFrame) {
      EXPECT_TRUE(frame.sps && frame.pps);
    }
  }
}

TEST_P(EncoderSessionContract, letsGoOfThePictureThatItHasEncoded) {
  if (GetParam().keepsPictures) return;
  EncodedStream stream(makeSession());
  stream.prepare();
  const auto picture = pictures_->text(0);
  stream.encode(picture, 0ms, true);
  ASSERT_TRUE(stream.hasPutOut(1));
  EXPECT_TRUE(eventually([&] { return picture.use_count() == 1; }));
}

TEST_P(EncoderSessionContract, dropsPicturesAfterItsEnd) {
  EncodedStream stream(makeSession());
  stream.prepare();
  stream.encode(pictures_->text(0), 0ms, true);
  ASSERT_TRUE(stream.hasPutOut(1));
  stream.session().invalidate();
  stream.session().invalidate();
  stream.encode(pictures_->text(0), 66ms, true);
  EXPECT_EQ(stream.frames.size(), 1u);
}

TEST_P(EncoderSessionContract, mayEndWithinItsOutput) {
  const auto session = makeSession();
  session->prepareToEncodeFrames();
  const auto outputs = std::make_shared<std::atomic<int>>(0);
  session->encodeFrame(pictures_->text(0), 0ms, {true},
                       [outputs, ending = std::weak_ptr(session)](EncodeStatus, const EncodedSample* sample) {
                         if (const auto alive = ending.lock()) alive->invalidate();
                         EXPECT_TRUE(sample && sample->data && !sample->data->empty());
                         ++*outputs;
                       });
  ASSERT_TRUE(eventually([&] { return *outputs == 1; }));
  session->encodeFrame(pictures_->text(0), 66ms, {true},
                       [outputs](EncodeStatus, const EncodedSample*) { ++*outputs; });
  EXPECT_EQ(*outputs, 1);
}

TEST_P(EncoderSessionContract, sessionsOfSeveralSizesLiveSideBySide) {
  const auto smaller = GetParam().makeInput(160, 120);
  EncodedStream first(makeSession());
  EncodedStream second(makeSession(160, 120));
  first.prepare();
  second.prepare();
  for (int i = 0; i < 5; ++i) {
    first.encode(pictures_->text(i), i * 66ms, i == 0);
    second.encode(smaller->text(i), i * 66ms, i == 0);
    ASSERT_TRUE(first.hasPutOut(static_cast<std::size_t>(i) + 1));
    ASSERT_TRUE(second.hasPutOut(static_cast<std::size_t>(i) + 1));
  }
  EXPECT_EQ(first.frames.size(), 5u);
  EXPECT_EQ(second.frames.size(), 5u);
  EXPECT_TRUE(second.frames.front().isKeyFrame);
}

}  // namespace tevanto::test
