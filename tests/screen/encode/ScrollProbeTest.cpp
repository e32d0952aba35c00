#include "screen/encode/ScrollProbe.h"

#include <gtest/gtest.h>

#include "tests/support/video/EncoderPictures.h"

namespace tevanto {
namespace {

constexpr int kWidth = 640;
constexpr int kHeight = 480;
constexpr PixelRect kAll{0, 0, kWidth, kHeight};

class ScrollProbeTest : public ::testing::Test {
 protected:
  std::optional<int> take(const std::shared_ptr<const PixelBuffer>& picture,
                          const PixelRect& changed = kAll) {
    return probe_.measure(picture->planes()[0], changed);
  }

  test::EncoderPictures pictures_{PixelFormat::i420, kWidth, kHeight};
  ScrollProbe probe_;
};

TEST_F(ScrollProbeTest, tellsByHowManyRowsAPageScrolls) {
  for (const int step : {1, 5, 16, 21, 32, 52, 80, 111, 112, -3, -26, -112}) {
    take(pictures_.text(1000));
    EXPECT_EQ(take(pictures_.text(1000 + step)), step);
    EXPECT_EQ(take(pictures_.text(1000 + 2 * step)), step);
  }
}

TEST_F(ScrollProbeTest, tellsAStepOfPartsOfPixelsToTheNearestRow) {
  // Rows of a page in three times as many, each the mean of three.
  const auto between = [this](int third) {
    const auto whole = pictures_.text(third / 3);
    const auto next = pictures_.text(third / 3 + 1);
    auto mixed = std::const_pointer_cast<PixelBuffer>(pictures_.flat(0));
    const auto& plane = mixed->planes()[0];
    for (std::size_t i = 0; i < plane.stride * plane.rows; ++i) {
      const int a = std::to_integer<int>(whole->planes()[0].data[i]);
      const int b = std::to_integer<int>(next->planes()[0].data[i]);
      plane.data[i] = static_cast<std::byte>((a * (3 - third % 3) + b * (third % 3)) / 3);
    }
    return mixed;
  };
  take(between(300));
  for (int i = 1; i < 6; ++i) {
    const auto found = take(between(300 + 64 * i));
    ASSERT_TRUE(found) << i;
    EXPECT_NEAR(*found, 21.3, 1) << i;
  }
}

TEST_F(ScrollProbeTest, theFirstPictureHasNothingBeforeIt) {
  EXPECT_EQ(take(pictures_.text(0)), std::nullopt);
}

TEST_F(ScrollProbeTest, whatDoesNotMoveAsOneHasNotScrolled) {
  take(pictures_.text(0));
  EXPECT_EQ(take(pictures_.text(0)), std::nullopt) << "the same again";
  EXPECT_EQ(take(pictures_.text(0, 2)), std::nullopt) << "another page";
  EXPECT_EQ(take(pictures_.text(200, 2)), std::nullopt) << "farther than it looks";
  EXPECT_EQ(take(pictures_.noise(1)), std::nullopt);
  EXPECT_EQ(take(pictures_.noise(2)), std::nullopt);
  EXPECT_EQ(take(pictures_.flat(90)), std::nullopt);
  EXPECT_EQ(take(pictures_.flat(200)), std::nullopt);
}

TEST_F(ScrollProbeTest, looksOnlyAtWhatChanged) {
  const PixelRect pane{200, 100, 300, 300};
  const auto withPane = [&](int offset, int ground) {
    const auto page = pictures_.text(offset);
    auto picture = std::const_pointer_cast<PixelBuffer>(pictures_.flat(ground));
    const auto stride = picture->planes()[0].stride;
    for (int y = pane.y; y < pane.y + pane.height; ++y) {
      const auto from = static_cast<std::size_t>(y) * stride + static_cast<std::size_t>(pane.x);
      std::copy_n(page->planes()[0].data + from, pane.width, picture->planes()[0].data + from);
    }
    return picture;
  };
  take(withPane(0, 120));
  EXPECT_EQ(take(withPane(20, 120), pane), 20);
  EXPECT_EQ(take(withPane(40, 120), pane), 20) << "it remembers the pane";
  EXPECT_EQ(take(withPane(60, 120), {pane.x, pane.y, 90, pane.height}), std::nullopt) << "too narrow to tell";
  EXPECT_EQ(take(withPane(60, 120), {pane.x, pane.y, pane.width, 90}), std::nullopt) << "too low";
}

TEST_F(ScrollProbeTest, takesPicturesOfAnySize) {
  for (const auto& [width, height] : {std::pair{2, 2}, {16, 16}, {14, 400}, {640, 2}, {98, 300}}) {
    test::EncoderPictures pictures(PixelFormat::i420, width, height);
    const PixelRect all{0, 0, width, height};
    for (int i = 0; i < 3; ++i) {
      EXPECT_EQ(probe_.measure(pictures.flat(i)->planes()[0], all), std::nullopt) << width << "x" << height;
    }
  }
  EXPECT_EQ(take(pictures_.text(0)), std::nullopt) << "another size begins anew";
  EXPECT_EQ(take(pictures_.text(7)), 7);
}

}  // namespace
}  // namespace tevanto
