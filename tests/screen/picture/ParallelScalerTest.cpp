#include "screen/picture/ParallelScaler.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <thread>
#include <tuple>
#include <utility>

#include "screen/picture/PixelBufferPool.h"
#include "tests/support/programs/Eventually.h"
#include "tests/support/programs/ProcessMemory.h"
#include "tests/support/video/TestPictures.h"

namespace tevanto {
namespace {

using test::RgbPicture;

constexpr PixelRect kSmall{100, 90, 64, 40};

std::shared_ptr<PixelBuffer> makeBuffer(int width, int height) {
  auto buffer = PixelBufferPool(PixelFormat::i420, width, height, 1).acquire();
  PictureScaler::clear(*buffer);
  return buffer;
}

template <class Scaler>
void draw(Scaler& scaler, const RgbPicture& picture, const PixelRect& changed, PixelBuffer& buffer) {
  scaler.draw(reinterpret_cast<const std::byte*>(picture.pixels.data()),
              static_cast<std::size_t>(picture.width) * 4, scaler.outputOf(changed), buffer);
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

RgbPicture noise(int width, int height, unsigned seed) {
  RgbPicture picture{width, height, {}};
  std::mt19937 random(seed);
  picture.pixels.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
  for (auto& pixel : picture.pixels) pixel = random() & 0xFFFFFF;
  return picture;
}

TEST(ParallelScaler, drawsWhatOneThreadDraws) {
  // Bands that come out even and that do not, bars at the sides, above and below, and a copy without scaling.
  for (const auto& [width, height, w, h] : {std::tuple{960, 600, 640, 400},
                                            {641, 481, 640, 480},
                                            {400, 400, 640, 360},
                                            {640, 400, 360, 640},
                                            {320, 322, 320, 322}}) {
    PictureScaler alone(width, height, w, h);
    ParallelScaler together(width, height, w, h);
    EXPECT_EQ(together.viewport(), alone.viewport());
    const auto wanted = makeBuffer(w, h);
    const auto seen = makeBuffer(w, h);
    for (unsigned i = 0; i < 8; ++i) {
      const auto picture = noise(width, height, i);
      const PixelRect changed = i % 4 == 3 ? kSmall : PixelRect{0, 0, width, height};
      EXPECT_EQ(together.outputOf(changed), alone.outputOf(changed));
      draw(alone, picture, changed, *wanted);
      draw(together, picture, changed, *seen);
      ASSERT_TRUE(equal(*seen, *wanted)) << width << " by " << height << ", picture " << i;
    }
  }
}

TEST(ParallelScaler, hasItsThreadFromTheFirstLargePartToItsEnd) {
  const auto picture = noise(960, 600, 1);
  const auto buffer = makeBuffer(640, 400);
  std::thread([] {}).join();  // with the first one ThreadSanitizer begins its own
  // The system may list a thread that was joined for a moment longer.
  auto threads = test::threadCount();
  ASSERT_TRUE(
      test::eventually([&] { return std::exchange(threads, test::threadCount()) == test::threadCount(); }));
  {
    ParallelScaler scaler(960, 600, 640, 400);
    draw(scaler, picture, kSmall, *buffer);
    EXPECT_EQ(test::threadCount(), threads) << "a letter is drawn sooner than a thread begins";
    draw(scaler, picture, {0, 0, 960, 600}, *buffer);
    EXPECT_EQ(test::threadCount(), threads + 1);
    draw(scaler, picture, {0, 0, 960, 600}, *buffer);
    EXPECT_EQ(test::threadCount(), threads + 1);
  }
  EXPECT_TRUE(test::eventually([&] { return test::threadCount() == threads; }));
}

}  // namespace
}  // namespace tevanto
