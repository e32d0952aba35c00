// What is told to libx264 about each picture must never show in it.

#include "platform/linux/video/X264Encoder.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "tests/support/video/EncodedStream.h"
#include "tests/support/video/EncoderPictures.h"
#include "tests/support/video/H264TestDecoder.h"

namespace tevanto {
namespace {

constexpr int kWidth = 640;
constexpr int kHeight = 480;

class X264EncoderTest : public ::testing::Test {
 protected:
  void open(int width, int height) {
    EncoderSettings settings;
    settings.width = width;
    settings.height = height;
    settings.format = PixelFormat::i420;
    settings.dataRateLimit = DataRateLimit{1'125'000, std::chrono::seconds(1)};
    encoder_ = X264Encoder::open(settings).value();
  }
  test::DecodedPicture through(const std::shared_ptr<const PixelBuffer>& picture, bool isKeyFrame = false) {
    const auto unit = encoder_->encode(picture, isKeyFrame).value().value();
    if (unit.isIdr) decoder_.setParameterSets(*unit.sps, *unit.pps);
    return decoder_.decode(unit.data).value();
  }

  std::unique_ptr<PictureEncoder> encoder_;
  test::H264TestDecoder decoder_;
};

TEST_F(X264EncoderTest, whateverPartChangesIsSeen) {
  open(kWidth, kHeight);
  test::EncoderPictures pictures(PixelFormat::i420, kWidth, kHeight);
  through(pictures.flat(200), true);
  const PixelRect parts[] = {{0, 0, 1, 1},     {15, 15, 2, 2},    {16, 16, 16, 16},  {17, 31, 14, 2},
                             {639, 479, 1, 1}, {0, 470, 640, 10}, {600, 0, 40, 480}, {5, 5, 630, 470}};
  for (const auto& part : parts) {
    for (const int level : {40, 200}) {
      const auto picture = std::const_pointer_cast<PixelBuffer>(pictures.flat(200));
      const auto& luma = picture->planes()[0];
      for (int y = part.y; y < part.y + part.height; ++y) {
        std::fill_n(luma.data + static_cast<std::size_t>(y) * luma.stride + part.x, part.width,
                    static_cast<std::byte>(level));
      }
      picture->change.region = part;
      EXPECT_GT(through(picture).psnr(*picture), 40) << part.x << " " << part.y << " to " << level;
    }
  }
  EXPECT_EQ(decoder_.errors(), 0);
}

TEST_F(X264EncoderTest, aPictureWhoseForerunnerItNeverSawIsEncodedAsAWhole) {
  open(kWidth, kHeight);
  test::EncoderPictures pictures(PixelFormat::i420, kWidth, kHeight);
  through(pictures.flat(200), true);
  const auto unseen = pictures.flat(100);
  const auto picture = std::const_pointer_cast<PixelBuffer>(pictures.flat(100));
  picture->change.region = {0, 0, 8, 8};  // from the one that was left out
  EXPECT_EQ(picture->change.previous, unseen->change.picture);
  EXPECT_GT(through(picture).psnr(*picture), 40);
  const auto unknown = std::const_pointer_cast<PixelBuffer>(pictures.flat(50));
  unknown->change = {};
  EXPECT_GT(through(unknown).psnr(*unknown), 40);
}

TEST_F(X264EncoderTest, aPictureThatStandsStillGetsClear) {
  open(1280, 720);
  test::EncoderPictures pictures(PixelFormat::i420, 1280, 720);
  const auto page = pictures.text(0);
  const auto first = through(page, true).psnr(*page);
  double last = 0;
  for (int i = 0; i < 8; ++i) last = through(page).psnr(*page);
  EXPECT_LT(first, 42);
  EXPECT_GT(last, 44);
  EXPECT_LE(*encoder_->lastQuantizer(), kFinestQuantizer);
}

// Pages that begin to scroll, go on, change their pace, turn, and go on across key frames.
TEST_F(X264EncoderTest, aPageThatScrollsIsLegibleInEachPicture) {
  test::EncoderPictures pictures(PixelFormat::i420, 1280, 720);
  for (const int step : {3, 16, 26, 32, 52, -40}) {
    open(1280, 720);
    double worst = 99;
    for (int i = 0, offset = 3000; i < 40; ++i) {
      offset += i < 20 ? step : i < 30 ? step / 2 : -step;
      const auto page = pictures.text(offset);
      const auto decibel = through(page, i == 0 || i == 12).psnr(*page);
      // The key frames take much of the bucket; what follows at once has to do with the rest.
      if (i > 0) worst = std::min(worst, decibel);
    }
    std::printf("steps of %d rows: %.1f dB at worst\n", step, worst);
    EXPECT_GE(worst, 28) << step;
  }
  EXPECT_EQ(decoder_.errors(), 0);
}

}  // namespace
}  // namespace tevanto
