#include "screen/picture/PictureScaler.h"

#include <gtest/gtest.h>

#include <cstring>
#include <numeric>
#include <random>
#include <tuple>

#include "screen/capture/CaptureEngine.h"
#include "screen/picture/PixelBufferPool.h"
#include "screen/picture/PixelRows.h"
#include "tests/support/video/TestPictures.h"

namespace tevanto {
namespace {

using test::RgbPicture;

std::shared_ptr<PixelBuffer> makeBuffer(PixelFormat format, int width, int height) {
  return PixelBufferPool(format, width, height, 1).acquire();
}

std::shared_ptr<PixelBuffer> drawn(PictureScaler& scaler, const RgbPicture& picture, PixelFormat format,
                                   int width, int height) {
  auto buffer = makeBuffer(format, width, height);
  PictureScaler::clear(*buffer);
  scaler.draw(reinterpret_cast<const std::byte*>(picture.pixels.data()),
              static_cast<std::size_t>(picture.width) * 4,
              scaler.outputOf({0, 0, picture.width, picture.height}), *buffer);
  return buffer;
}

bool equal(const PixelBuffer& a, const PixelBuffer& b) {
  for (std::size_t i = 0; i < a.planes().size(); ++i) {
    const auto& one = a.planes()[i];
    for (std::size_t y = 0; y < one.rows; ++y) {
      const auto offset = y * one.stride;
      if (std::memcmp(one.data + offset, b.planes()[i].data + offset, one.rowBytes) != 0) return false;
    }
  }
  return true;
}

std::vector<test::RealPlane> truthOf(const RgbPicture& picture, int width, int height) {
  const auto scaled = [&](int shift) { return areaScaled(channelOf(picture, shift), width, height); };
  return test::ycbcrOf(scaled(16), scaled(8), scaled(0));
}

int byteAt(const PixelPlane& plane, int x, int y) {
  return std::to_integer<int>(
      plane.data[static_cast<std::size_t>(y) * plane.stride + static_cast<std::size_t>(x)]);
}

TEST(AreaTaps, weightsAddUpForEveryRatio) {
  for (const auto& [source, output] : std::vector<std::pair<int, int>>{{3840, 1280},
                                                                       {1920, 1280},
                                                                       {3024, 960},
                                                                       {1964, 830},
                                                                       {1279, 1278},
                                                                       {640, 1280},
                                                                       {2, 960},
                                                                       {800, 800},
                                                                       {16384, 2}}) {
    const AreaTaps taps(source, output);
    EXPECT_EQ(taps.taps % AreaTaps::kTapGroup, 0);
    for (int i = 0; i < output; ++i) {
      const auto* weights = taps.weightsOf(i);
      EXPECT_EQ(std::accumulate(weights, weights + taps.taps, 0), AreaTaps::kWeightSum)
          << source << " to " << output;
      int last = taps.taps - 1;
      while (last > 0 && weights[last] == 0) --last;
      EXPECT_LT(taps.first[static_cast<std::size_t>(i)] + last, source);
    }
  }
}

class PixelRowsOfProcessor : public ::testing::TestWithParam<int> {};

TEST_P(PixelRowsOfProcessor, areToTheBitThePortableOnes) {
  const auto* fast = avx2PixelRows();
  if (!fast) GTEST_SKIP() << "this processor has no AVX2";
  const auto& plain = portablePixelRows();
  const int count = GetParam();
  std::mt19937 random(static_cast<unsigned>(count));
  const auto size = static_cast<std::size_t>(count) * 16 + 256;
  std::vector<std::vector<std::uint8_t>> rows(5, std::vector<std::uint8_t>(size));
  // Extremes among them: that is where sums overflow.
  for (auto& row : rows)
    for (auto& byte : row) byte = random() % 3 == 0 ? 255 : static_cast<std::uint8_t>(random());
  const std::uint8_t* pointers[] = {rows[0].data(), rows[1].data(), rows[2].data(), rows[3].data(),
                                    rows[4].data()};
  std::vector<std::uint8_t> a(size), b(size), c(size), d(size);
  const std::vector<std::vector<std::int8_t>> weights{
      {127, 1}, {64, 64}, {43, 42, 43}, {13, 38, 39, 38}, {26, 25, 26, 25, 26}};
  for (const auto& own : weights) {
    plain.blend(pointers, own.data(), static_cast<int>(own.size()), static_cast<std::size_t>(count) * 4,
                a.data());
    fast->blend(pointers, own.data(), static_cast<int>(own.size()), static_cast<std::size_t>(count) * 4,
                b.data());
    EXPECT_EQ(a, b);
  }
  plain.luma(pointers[0], count, a.data());
  fast->luma(pointers[0], count, b.data());
  EXPECT_EQ(a, b);
  plain.chroma(pointers[0], pointers[1], count, a.data(), c.data());
  fast->chroma(pointers[0], pointers[1], count, b.data(), d.data());
  EXPECT_EQ(a, b);
  EXPECT_EQ(c, d);
  for (const int ratio : {1, 2, 3, 4}) {
    const int whole = count / 8 * 8;
    if (whole == 0) continue;
    const AreaTaps taps(whole * ratio - (ratio > 1 ? 3 : 0), whole);
    plain.scale(pointers[0], taps.first.data(), taps.weights.data(), taps.taps, whole, a.data());
    fast->scale(pointers[0], taps.first.data(), taps.weights.data(), taps.taps, whole, b.data());
    EXPECT_EQ(a, b) << "at a ratio of " << ratio;
  }
}

INSTANTIATE_TEST_SUITE_P(Counts, PixelRowsOfProcessor,
                         ::testing::Values(1, 2, 7, 8, 15, 16, 31, 32, 33, 64, 101, 640));

TEST(PictureScaler, convertsWithinHalfALevelOrTwo) {
  PictureScaler scaler(64, 64, 64, 64);
  for (const std::uint32_t color :
       {0x000000u, 0xFFFFFFu, 0xFF0000u, 0x00FF00u, 0x0000FFu, 0x808080u, 0x123456u}) {
    const RgbPicture picture{64, 64, std::vector<std::uint32_t>(64 * 64, color)};
    const auto buffer = drawn(scaler, picture, PixelFormat::i420, 64, 64);
    const auto truth = truthOf(picture, 64, 64);
    for (std::size_t i = 0; i < 3; ++i) {
      EXPECT_NEAR(byteAt(buffer->planes()[i], 5, 5), truth[i].at(5, 5), 1.0)
          << std::hex << color << " plane " << i;
    }
  }
}

struct Shape {
  int width;
  int height;
  int longSide;
};

class ScalingOf : public ::testing::TestWithParam<Shape> {};

TEST_P(ScalingOf, isCloseToAnExactAreaFilter) {
  const auto [width, height, longSide] = GetParam();
  const auto out = scaledSize(width, height, longSide);
  const int w = static_cast<int>(out.width);
  const int h = static_cast<int>(out.height);
  const auto picture = test::desktopPicture(width, height);
  const auto truth = truthOf(picture, w, h);
  PictureScaler scaler(width, height, w, h);
  const auto buffer = drawn(scaler, picture, PixelFormat::i420, w, h);
  const char* const names[] = {"luma", "cb", "cr"};
  for (std::size_t i = 0; i < 3; ++i) {
    const double decibels = psnr(buffer->planes()[i], truth[i]);
    RecordProperty(names[i], std::to_string(decibels));
    EXPECT_GE(decibels, 45) << names[i];
  }
}

INSTANTIATE_TEST_SUITE_P(Displays, ScalingOf,
                         ::testing::Values(Shape{3840, 2160, 1280}, Shape{3840, 2160, 960},
                                           Shape{2560, 1440, 1280}, Shape{2560, 1440, 960},
                                           Shape{1920, 1080, 1280}, Shape{1920, 1080, 960},
                                           Shape{3024, 1964, 1280}, Shape{3024, 1964, 960},
                                           Shape{1280, 800, 1280}, Shape{1080, 1920, 1280}));

TEST(PictureScaler, drawsAPartAsItDrawsTheWhole) {
  std::mt19937 random(7);
  for (const auto& [width, height, w, h] :
       std::vector<std::tuple<int, int, int, int>>{{960, 540, 640, 360},
                                                   {800, 600, 800, 600},
                                                   {641, 401, 640, 400},
                                                   {1024, 768, 640, 360},
                                                   {300, 200, 640, 360}}) {
    PictureScaler scaler(width, height, w, h);
    auto picture = test::desktopPicture(width, height);
    const auto kept = drawn(scaler, picture, PixelFormat::i420, w, h);
    for (int i = 0; i < 40; ++i) {
      PixelRect rect{static_cast<int>(random() % static_cast<unsigned>(width)),
                     static_cast<int>(random() % static_cast<unsigned>(height)),
                     1 + static_cast<int>(random() % 40), 1 + static_cast<int>(random() % 30)};
      rect.width = std::min(rect.width, width - rect.x);
      rect.height = std::min(rect.height, height - rect.y);
      for (int y = rect.y; y < rect.y + rect.height; ++y)
        for (int x = rect.x; x < rect.x + rect.width; ++x)
          picture.pixels[static_cast<std::size_t>(y * width + x)] = random() & 0xFFFFFF;
      scaler.draw(reinterpret_cast<const std::byte*>(picture.pixels.data()),
                  static_cast<std::size_t>(width) * 4, scaler.outputOf(rect), *kept);
      ASSERT_TRUE(equal(*kept, *drawn(scaler, picture, PixelFormat::i420, w, h))) << width << " step " << i;
    }
  }
}

TEST(PictureScaler, keepsProportionsBetweenBlackBars) {
  PictureScaler scaler(400, 400, 640, 360);
  EXPECT_EQ(scaler.viewport(), (PixelRect{140, 0, 360, 360}));
  const RgbPicture white{400, 400, std::vector<std::uint32_t>(400 * 400, 0xFFFFFF)};
  const auto buffer = drawn(scaler, white, PixelFormat::i420, 640, 360);
  const auto& luma = buffer->planes()[0];
  EXPECT_EQ(byteAt(luma, 139, 100), 16);
  EXPECT_EQ(byteAt(luma, 140, 100), 235);
  EXPECT_EQ(byteAt(luma, 499, 100), 235);
  EXPECT_EQ(byteAt(luma, 500, 100), 16);
  EXPECT_EQ(byteAt(buffer->planes()[1], 10, 10), 128);
  EXPECT_EQ(PictureScaler(1920, 600, 640, 360).viewport(), (PixelRect{0, 80, 640, 200}));
  EXPECT_EQ(PictureScaler(3024, 1964, 1280, 830).viewport(), (PixelRect{0, 0, 1280, 830}));
}

TEST(PictureScaler, losesTheLastPixelOfAnOddSideRatherThanSharpness) {
  const auto picture = test::desktopPicture(641, 401);
  PictureScaler scaler(641, 401, 640, 400);
  const auto buffer = drawn(scaler, picture, PixelFormat::bgra, 640, 400);
  for (int y = 0; y < 400; ++y) {
    for (int x = 0; x < 640; ++x) {
      std::uint32_t pixel = 0;
      std::memcpy(&pixel,
                  buffer->planes()[0].data + static_cast<std::size_t>(y) * buffer->planes()[0].stride +
                      static_cast<std::size_t>(x) * 4,
                  4);
      ASSERT_EQ(pixel, picture.at(x, y));
    }
  }
}

TEST(PictureScaler, writesTheSameChromaInterleaved) {
  const auto picture = test::desktopPicture(960, 540);
  PictureScaler scaler(960, 540, 640, 360);
  const auto planar = drawn(scaler, picture, PixelFormat::i420, 640, 360);
  const auto interleaved = drawn(scaler, picture, PixelFormat::nv12, 640, 360);
  for (int y = 0; y < 180; ++y) {
    for (int x = 0; x < 320; ++x) {
      ASSERT_EQ(byteAt(interleaved->planes()[1], 2 * x, y), byteAt(planar->planes()[1], x, y));
      ASSERT_EQ(byteAt(interleaved->planes()[1], 2 * x + 1, y), byteAt(planar->planes()[2], x, y));
    }
  }
}

}  // namespace
}  // namespace tevanto
