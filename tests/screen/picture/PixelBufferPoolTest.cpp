#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <memory>

#include "screen/picture/PixelBufferPool.h"

namespace tevanto {
namespace {

TEST(PixelBufferPool, describesThePlanesOfEachFormat) {
  const auto bgra = PixelBufferPool(PixelFormat::bgra, 15, 4, 1).acquire();
  ASSERT_EQ(bgra->planes().size(), 1u);
  EXPECT_EQ(bgra->planes()[0].rowBytes, 60u);
  EXPECT_EQ(bgra->colorSpace(), ColorSpace::srgb);

  const auto i420 = PixelBufferPool(PixelFormat::i420, 1278, 800, 1).acquire();
  ASSERT_EQ(i420->planes().size(), 3u);
  EXPECT_EQ(i420->planes()[0].rowBytes, 1278u);
  EXPECT_EQ(i420->planes()[1].rowBytes, 639u);
  EXPECT_EQ(i420->planes()[2].rows, 400u);
  EXPECT_EQ(i420->colorSpace(), ColorSpace::bt709Limited);

  const auto nv12 = PixelBufferPool(PixelFormat::nv12, 1278, 800, 1).acquire();
  ASSERT_EQ(nv12->planes().size(), 2u);
  EXPECT_EQ(nv12->planes()[1].rowBytes, 1278u);
  EXPECT_EQ(nv12->planes()[1].rows, 400u);
}

TEST(PixelBufferPool, planesAreAlignedAndDoNotOverlap) {
  const auto buffer = PixelBufferPool(PixelFormat::i420, 1278, 800, 1).acquire();
  const auto planes = buffer->planes();
  for (std::size_t i = 0; i < planes.size(); ++i) {
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(planes[i].data) % 64, 0u);
    EXPECT_EQ(planes[i].stride % 64, 0u);
    EXPECT_GE(planes[i].stride, planes[i].rowBytes);
    // The sanitizer would see a plane that reaches beyond the memory.
    for (std::size_t row = 0; row < planes[i].rows; ++row) {
      std::memset(planes[i].data + row * planes[i].stride, static_cast<int>(i + 1), planes[i].rowBytes);
    }
  }
  for (std::size_t i = 0; i < planes.size(); ++i) {
    EXPECT_EQ(planes[i].data[0], std::byte(i + 1));
    EXPECT_EQ(planes[i].data[(planes[i].rows - 1) * planes[i].stride + planes[i].rowBytes - 1],
              std::byte(i + 1));
  }
}

TEST(PixelBufferPool, returnsTheSameMemoryWithItsFormerContents) {
  PixelBufferPool pool(PixelFormat::bgra, 16, 16, 2);
  auto first = pool.acquire();
  const auto* memory = first->planes()[0].data;
  first->planes()[0].data[5] = std::byte{77};
  first->change.picture = 9;
  first.reset();
  const auto again = pool.acquire();
  EXPECT_EQ(again->planes()[0].data, memory);
  EXPECT_EQ(again->planes()[0].data[5], std::byte{77});
  EXPECT_EQ(again->change.picture, 9u);
}

TEST(PixelBufferPool, hasNoneWhileAllAreInUse) {
  PixelBufferPool pool(PixelFormat::nv12, 16, 16, 2);
  const auto first = pool.acquire();
  auto second = pool.acquire();
  EXPECT_NE(first->planes()[0].data, second->planes()[0].data);
  EXPECT_EQ(pool.acquire(), nullptr);
  second.reset();
  EXPECT_NE(pool.acquire(), nullptr);
}

TEST(PixelBufferPool, aBufferOutlivesItsPool) {
  std::shared_ptr<PixelBuffer> last;
  {
    PixelBufferPool pool(PixelFormat::bgra, 16, 16, 2);
    last = pool.acquire();
  }
  last->planes()[0].data[0] = std::byte{1};
  EXPECT_EQ(last->planes()[0].data[0], std::byte{1});
}

}  // namespace
}  // namespace tevanto
