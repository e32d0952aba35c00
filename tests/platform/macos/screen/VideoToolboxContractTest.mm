// The encoder of this Mac.

#include "platform/macos/screen/VideoToolboxEncoder.h"
#include "tests/platform/contracts/EncoderSessionContract.h"
#include "tests/platform/macos/screen/CoreVideoPictures.h"
#include "tests/support/video/EncoderPictures.h"

namespace tevanto::test {
namespace {

INSTANTIATE_TEST_SUITE_P(EncodersOfThisMac, EncoderSessionContract,
                         testing::Values(EncoderImplementation{
                             "VideoToolbox", [] { return std::make_unique<VideoToolboxEncoder>(); },
                             [](int width, int height) {
                               return std::make_unique<CoreVideoPictures>(width, height);
                             }}),
                         nameOf);

std::shared_ptr<EncoderSession> makeSession() {
  auto made = VideoToolboxEncoder().create(320, 240, VideoCodec::h264);
  return made ? made.value() : nullptr;
}

TEST(VideoToolboxContract, putsOutNalUnitsBehindFourBytesOfLength) {
  CoreVideoPictures pictures(320, 240);
  EncodedStream stream(makeSession());
  stream.prepare();
  stream.encode(pictures.text(0), std::chrono::milliseconds(0), true);
  ASSERT_TRUE(stream.hasPutOut(1));
  const auto& data = stream.frames.front().data;
  std::size_t at = 0;
  while (at + 4 <= data.size()) {
    std::uint32_t length = 0;
    for (std::size_t i = 0; i < 4; ++i) length = length << 8 | std::to_integer<std::uint32_t>(data[at + i]);
    at += 4 + length;
  }
  EXPECT_EQ(at, data.size());
}

TEST(VideoToolboxContract, encodesMainProfile) {
  CoreVideoPictures pictures(320, 240);
  EncodedStream stream(makeSession());
  stream.prepare();
  stream.encode(pictures.text(0), std::chrono::milliseconds(0), true);
  ASSERT_TRUE(stream.hasPutOut(1));
  ASSERT_TRUE(stream.frames.front().sps);
  constexpr int kMainProfile = 77;  // profile_idc, ITU-T H.264, A.2.2
  EXPECT_EQ(std::to_integer<int>(stream.frames.front().sps->at(1)), kMainProfile);
}

TEST(VideoToolboxContract, refusesPicturesThatAreNotTheSystemsOwn) {
  EncoderPictures pictures(PixelFormat::i420, 320, 240);
  EncodedStream stream(makeSession());
  stream.prepare();
  stream.encode(pictures.text(0), std::chrono::milliseconds(0), true);
  ASSERT_TRUE(stream.hasPutOut(1));
  EXPECT_EQ(stream.frames.front().status, EncodeStatus::failure);
}

TEST(VideoToolboxContract, takesPicturesWithoutCopyingThem) {
  CoreVideoPictures pictures(320, 240);
  const auto picture = pictures.text(0);
  EXPECT_EQ(picture->format(), PixelFormat::native);
  EXPECT_TRUE(picture->planes().empty());
  EXPECT_NE(picture->nativeHandle(), nullptr);
}

TEST(VideoToolboxContract, refusesAPropertyOfAnotherType) {
  const auto session = makeSession();
  ASSERT_TRUE(session);
  EXPECT_FALSE(session->setProperty(EncoderProperty::realTime, std::int64_t{1}));
  session->invalidate();
  EXPECT_FALSE(session->setProperty(EncoderProperty::realTime, true));
}

}  // namespace
}  // namespace tevanto::test
