#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/linux/video/OpenEncoder.h"
#include "platform/linux/video/ProbingEncoderFactory.h"
#include "screen/encode/PictureEncoder.h"
#include "tests/support/fakes/RecordingLogSink.h"
#include "tests/support/video/EncodedStream.h"
#include "tests/support/video/EncoderPictures.h"

namespace tevanto {
namespace {

using namespace std::chrono_literals;

TEST(ProbingEncoderFactory, saysWhichEncoderItUsesAndWhyNotTheOthers) {
  const auto sink = std::make_shared<test::RecordingLogSink>();
  ProbingEncoderFactory factory(Logger(sink, "encoder"), {"h264_of_nobody", "libx264", "never_tried"});
  EXPECT_TRUE(sink->lines().empty()) << "nothing is tried before it is asked for";
  EXPECT_EQ(factory.encoderName(), "libx264");
  ASSERT_EQ(factory.refusals().size(), 1u);
  EXPECT_EQ(factory.refusals()[0].encoder, "h264_of_nobody");
  EXPECT_EQ(factory.description(), "libx264 (h264_of_nobody: this libavcodec is built without it)");
  const auto lines = sink->lines().size();
  static_cast<void>(factory.create(320, 240, VideoCodec::h264));
  EXPECT_EQ(factory.encoderName(), "libx264");
  EXPECT_EQ(sink->lines().size(), lines) << "they are tried once";
  for (const auto& line : sink->lines()) EXPECT_EQ(line.level, LogLevel::debug) << line.text;
}

TEST(ProbingEncoderFactory, namesTheEncoderThatASessionFellBackTo) {
  test::EncoderClock clock;
  // An encoder in hardware that does small pictures only, as some do.
  const auto open = [](const std::string& name, const EncoderSettings& settings) {
    if (name == "h264_small" && settings.width > 640) {
      return Result<std::unique_ptr<PictureEncoder>>(Failure{"too large"});
    }
    return openEncoder("libx264", settings);
  };
  const auto sink = std::make_shared<test::RecordingLogSink>();
  ProbingEncoderFactory factory({Logger(sink, "encoder"), clock.reader(), open, nullptr},
                                {"h264_small", "libx264"});
  const auto encodeOne = [&](int width) {
    test::EncodedStream stream(factory.create(width, 480, VideoCodec::h264).value(), &clock);
    stream.prepare();
    stream.encode(test::EncoderPictures(PixelFormat::i420, width, 480).text(0), 0ms, true);
    EXPECT_TRUE(stream.frames.back().isKeyFrame);
  };
  EXPECT_EQ(factory.encoderName(), "h264_small");
  encodeOne(1280);
  EXPECT_EQ(factory.encoderName(), "libx264");
  EXPECT_THAT(sink->lines().back().text, testing::HasSubstr("h264_small cannot encode 1280×480: too large"));
  encodeOne(640);
  EXPECT_EQ(factory.encoderName(), "h264_small");
}

TEST(ProbingEncoderFactory, withoutAnEncoderThereAreNoSessions) {
  ProbingEncoderFactory factory(Logger(), {"h264_of_nobody"});
  EXPECT_EQ(factory.encoderName(), "");
  EXPECT_FALSE(factory.create(320, 240, VideoCodec::h264));
  EXPECT_EQ(factory.description(), "none (h264_of_nobody: this libavcodec is built without it)");
}

// Which encoders this machine has in hardware is its own affair; each refusal has a reason all the same.
TEST(ProbingEncoderFactory, triesTheHardwareFirstAndIsQuietAboutIt) {
  testing::internal::CaptureStderr();
  const ProbingEncoderFactory factory{Logger()};
  const auto name = factory.encoderName();
  const auto refusals = factory.refusals();
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  const std::vector<std::string> order{"h264_nvenc", "h264_vaapi", "h264_qsv", "libx264"};
  ASSERT_LT(refusals.size(), order.size());
  EXPECT_EQ(name, order[refusals.size()]);
  for (std::size_t i = 0; i < refusals.size(); ++i) {
    EXPECT_EQ(refusals[i].encoder, order[i]);
    EXPECT_FALSE(refusals[i].reason.empty());
  }
}

}  // namespace
}  // namespace tevanto
