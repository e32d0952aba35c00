#include <gtest/gtest.h>

#include <functional>

#include "platform/linux/video/OpenEncoder.h"
#include "platform/linux/video/ProbingEncoderFactory.h"
#include "screen/encode/PictureEncoder.h"
#include "tests/support/video/EncodedStream.h"
#include "tests/support/video/EncoderPictures.h"

namespace tevanto {
namespace {

struct Profile {
  int width;
  int height;
  std::int64_t bitRate;
  int fps;
};

constexpr Profile kProfiles[] = {{1280, 720, 6'000'000, 15}, {960, 540, 2'000'000, 12}};

/// Contents that tempt an encoder over its limit, by frame number; null: no frame in this place.
struct Content {
  const char* name;
  std::function<std::shared_ptr<const PixelBuffer>(test::EncoderPictures&, int frame, int fps)> draw;
  int keyFrameEvery = 0;  // frames; 0: only where one is due
};

const std::vector<Content>& contents() {
  static const std::vector<Content> rows{
      {"noise",
       [](auto& pictures, int frame, int) { return pictures.noise(static_cast<std::uint32_t>(frame)); }},
      {"scrollingText", [](auto& pictures, int frame, int) { return pictures.text(frame * 50); }},
      {"bursts",
       [](auto& pictures, int frame, int) {
         return frame / 5 % 2 ? pictures.noise(static_cast<std::uint32_t>(frame)) : pictures.text(frame * 50);
       }},
      {"restThenNoise",
       [](auto& pictures, int frame, int fps) {
         return frame % (3 * fps) < 2 * fps ? pictures.flat(120)
                                            : pictures.noise(static_cast<std::uint32_t>(frame));
       }},
      {"pagesWithPauses",
       [](auto& pictures, int frame, int fps) {
         return frame % (fps / 2) ? nullptr : pictures.text(0, static_cast<std::uint32_t>(frame));
       }},
      {"burstsWithPauses",
       [](auto& pictures, int frame, int fps) {
         return frame % (2 * fps) < fps ? nullptr : pictures.noise(static_cast<std::uint32_t>(frame));
       }},
      {"keyFramesOnly",
       [](auto& pictures, int frame, int) {
         return pictures.text(frame * 50, static_cast<std::uint32_t>(frame));
       },
       1},
      {"manyKeyFrames",
       [](auto& pictures, int frame, int) {
         return pictures.text(frame * 50, static_cast<std::uint32_t>(frame));
       },
       3},
  };
  return rows;
}

class EncoderDataRate : public testing::TestWithParam<std::tuple<Profile, std::size_t>> {};

TEST_P(EncoderDataRate, noSecondHoldsMoreThanTheLimit) {
  const auto& [profile, row] = GetParam();
  const auto& content = contents()[row];
  test::EncoderClock clock;
  ProbingEncoderFactory factory({Logger(), clock.reader(), openEncoder, nullptr}, {"libx264"});
  test::EncodedStream stream(factory.create(profile.width, profile.height, VideoCodec::h264).value(), &clock);
  stream.prepare(profile.bitRate, profile.fps);
  test::EncoderPictures pictures(PixelFormat::i420, profile.width, profile.height);
  const auto interval = std::chrono::nanoseconds(std::chrono::seconds(1)) / profile.fps;
  for (int frame = 0; frame < 7 * profile.fps; ++frame) {
    const auto picture = content.draw(pictures, frame, profile.fps);
    const bool isForced = content.keyFrameEvery > 0 && frame % content.keyFrameEvery == 0;
    if (picture) stream.encode(picture, frame * interval, isForced);
  }
  EXPECT_LE(stream.largestSecond(), profile.bitRate / 8 * 3 / 2) << content.name;
  RecordProperty("largestSecond", static_cast<int>(stream.largestSecond()));
}

// The limit allows a burst at first.
TEST(EncoderDataRateByTheClock, keepsItsAverageWhereTheLimitWouldAllowMore) {
  constexpr std::int64_t kAverage = 1'000'000;
  constexpr auto kBurst = std::chrono::seconds(5), kAfterwards = std::chrono::seconds(5);
  const auto& profile = kProfiles[0];
  test::EncoderClock clock;
  ProbingEncoderFactory factory({Logger(), clock.reader(), openEncoder, nullptr}, {"libx264"});
  test::EncodedStream stream(factory.create(profile.width, profile.height, VideoCodec::h264).value(), &clock);
  for (const auto& [property, value] : test::streamProperties(profile.bitRate, profile.fps)) {
    const bool isAverage = property == EncoderProperty::averageBitRate;
    ASSERT_TRUE(stream.session().setProperty(property, isAverage ? EncoderPropertyValue(kAverage) : value));
  }
  stream.session().prepareToEncodeFrames();
  test::EncoderPictures pictures(PixelFormat::i420, profile.width, profile.height);
  const auto interval = std::chrono::nanoseconds(std::chrono::seconds(1)) / profile.fps;
  for (int frame = 0; frame * interval < kBurst + kAfterwards; ++frame)
    stream.encode(pictures.text(frame * 50, static_cast<std::uint32_t>(frame)), frame * interval);
  std::int64_t bits = 0;
  for (const auto& frame : stream.frames)
    if (frame.time >= kBurst) bits += static_cast<std::int64_t>(frame.data.size()) * 8;
  EXPECT_LE(bits, kAverage * kAfterwards.count() * 6 / 5);
  EXPECT_GE(bits, kAverage * kAfterwards.count() / 2) << "and makes use of it";
}

// What a phone can make of asking for key frames of a picture that stands still.
TEST(EncoderDataRateByTheClock, aHundredKeyFramesASecondStayWithinTheLimit) {
  for (const auto& profile : kProfiles) {
    test::EncoderClock clock;
    ProbingEncoderFactory factory({Logger(), clock.reader(), openEncoder, nullptr}, {"libx264"});
    test::EncodedStream stream(factory.create(profile.width, profile.height, VideoCodec::h264).value(),
                               &clock);
    stream.prepare(profile.bitRate, profile.fps);
    const auto page = test::EncoderPictures(PixelFormat::i420, profile.width, profile.height).text(0);
    for (int i = 0; i < 300; ++i) stream.encode(page, i * std::chrono::milliseconds(10), true);
    EXPECT_LE(stream.largestSecond(), profile.bitRate / 8 * 3 / 2);
    EXPECT_EQ(std::count_if(stream.frames.begin(), stream.frames.end(),
                            [](const auto& frame) { return frame.isKeyFrame; }),
              2)
        << "at once and after a second; the next would come after three";
    RecordProperty("largestSecond", static_cast<int>(stream.largestSecond()));
  }
}

std::string nameOf(const testing::TestParamInfo<std::tuple<Profile, std::size_t>>& info) {
  return contents()[std::get<1>(info.param)].name + std::to_string(std::get<0>(info.param).height);
}

INSTANTIATE_TEST_SUITE_P(ProfilesAndContents, EncoderDataRate,
                         testing::Combine(testing::ValuesIn(kProfiles),
                                          testing::Range(std::size_t{0}, contents().size())),
                         nameOf);

}  // namespace
}  // namespace tevanto
