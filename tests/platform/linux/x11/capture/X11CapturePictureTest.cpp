#include <numeric>
#include <random>

#include "screen/picture/ChangedArea.h"
#include "tests/platform/linux/x11/capture/CaptureOnXvfb.h"

namespace tevanto {
namespace {

using test::RgbPicture;
using test::TakenPicture;

constexpr std::uint32_t kPureRed = 0xD02010;
constexpr std::uint32_t kBlue = 0x1030E0;

class X11CapturePicture : public test::CaptureOnXvfb {
 protected:
  static bool matches(const TakenPicture& taken, const RgbPicture& truth) {
    for (int y = 0; y < truth.height; ++y)
      for (int x = 0; x < truth.width; ++x)
        if (taken.at(x, y) != truth.at(x, y)) return false;
    return true;
  }
  // The server has a pointer of its own in the middle of the screen, which is no part of what was painted.
  static CaptureConfiguration withoutPointer(CaptureConfiguration configuration) {
    configuration.showsCursor = false;
    return configuration;
  }
  static double lumaPsnr(const TakenPicture& taken, const RgbPicture& truth) {
    const auto scaled = [&](int shift) {
      return areaScaled(channelOf(truth, shift), taken.width, taken.height);
    };
    const auto planes = test::ycbcrOf(scaled(16), scaled(8), scaled(0));
    const auto width = static_cast<std::size_t>(taken.width);
    auto bytes = taken.planes[0];
    const PixelPlane plane{reinterpret_cast<std::byte*>(bytes.data()), width, width,
                           static_cast<std::size_t>(taken.height)};
    return psnr(plane, planes[0]);
  }
};

TEST_F(X11CapturePicture, beginsWithTheWholeDisplayAsItIs) {
  serve("640x400x24");
  const auto picture = test::desktopPicture(640, 400);
  client->draw(picture);
  ASSERT_TRUE(start(withoutPointer(configurationOf(640, 400))));
  ASSERT_TRUE(test::eventually([this] { return count() == 1; }));
  EXPECT_TRUE(matches(*latest(), picture));
  EXPECT_EQ(latest()->change.picture, 1U);
  EXPECT_EQ(latest()->change.previous, 0U);
}

TEST_F(X11CapturePicture, readsThroughTheConnectionWithoutSharedMemory) {
  serve("640x400x24", {"-extension", "MIT-SHM"});
  const auto picture = test::desktopPicture(640, 400);
  client->draw(picture);
  ASSERT_TRUE(start(withoutPointer(configurationOf(640, 400))));
  ASSERT_TRUE(shows([&](const auto& taken) { return matches(taken, picture); }));
  client->fill({10, 300, 20, 20}, kPureRed);
  EXPECT_TRUE(showsColor(15, 310, kPureRed));
}

class X11CaptureOfDisplay
    : public X11CapturePicture,
      public ::testing::WithParamInterface<std::tuple<const char*, int, int, int, int>> {};

TEST_P(X11CaptureOfDisplay, isScaledAsAnExactAreaFilterDoes) {
  const auto [geometry, width, height, outWidth, outHeight] = GetParam();
  serve(geometry);
  const auto picture = test::desktopPicture(width, height);
  client->draw(picture);
  ASSERT_TRUE(start(withoutPointer(configurationOf(outWidth, outHeight, PixelFormat::i420))));
  ASSERT_TRUE(test::eventually([this] { return count() > 0; }));
  EXPECT_GE(lumaPsnr(*latest(), picture), 45);
}

INSTANTIATE_TEST_SUITE_P(Displays, X11CaptureOfDisplay,
                         ::testing::Values(std::tuple("3840x2160x24", 3840, 2160, 1280, 720),
                                           std::tuple("1920x1080x24", 1920, 1080, 1280, 720),
                                           std::tuple("3024x1964x24", 3024, 1964, 960, 622)));

TEST_F(X11CapturePicture, saysWhereItDiffersFromTheOneBefore) {
  serve("1920x1080x24");
  ASSERT_TRUE(start(configurationOf(1280, 720)));
  ASSERT_TRUE(test::eventually([this] { return count() == 1; }));
  client->fill({300, 600, 15, 30}, kPureRed);
  ASSERT_TRUE(test::eventually([this] { return count() == 2; }));
  const auto change = latest()->change;
  EXPECT_EQ(change.picture, 2U);
  EXPECT_EQ(change.previous, 1U);
  const PixelRect drawn{200, 400, 10, 20};
  EXPECT_EQ(intersection(change.region, drawn), drawn);
  EXPECT_LE(change.region.width, 14);
  EXPECT_LE(change.region.height, 24);
}

// What recycled buffers hold of earlier pictures must never show.
TEST_F(X11CapturePicture, isRightAfterAnyNumberOfSmallChanges) {
  serve("800x600x24");
  auto truth = test::desktopPicture(800, 600);
  client->draw(truth);
  // A consumer that keeps the latest picture, as the capture engine does, so that buffers take turns.
  std::shared_ptr<const PixelBuffer> kept;
  onSample = [&kept](const CaptureSample& sample) { kept = sample.image; };
  auto configuration = withoutPointer(configurationOf(800, 600));
  configuration.minimumFrameInterval = std::chrono::milliseconds(1);
  ASSERT_TRUE(start(configuration));
  std::mt19937 random(11);
  for (int i = 0; i < 60; ++i) {
    const int x = static_cast<int>(random() % 760);
    const int y = static_cast<int>(random() % 560);
    const RgbPicture patch = test::desktopPicture(40, 40, static_cast<unsigned>(i + 2));
    client->draw(patch, x, y);
    for (int row = 0; row < 40; ++row) {
      const auto from = patch.pixels.begin() + row * 40;
      std::copy(from, from + 40, truth.pixels.begin() + (y + row) * 800 + x);
    }
    if (i % 4 == 0) {
      ASSERT_TRUE(shows([&](const auto& taken) { return matches(taken, truth); })) << i;
    }
  }
  EXPECT_TRUE(shows([&](const auto& taken) { return matches(taken, truth); }));
  stop();
}

/// Whether `later` is the picture before it outside of what it says has changed.
bool differsOnlyWhereItSays(const TakenPicture& earlier, const TakenPicture& later) {
  const auto& changed = later.change.region;
  for (int y = 0; y < later.height; ++y) {
    for (int x = 0; x < later.width; ++x) {
      if (!hasPixels(intersection(changed, {x, y, 1, 1})) && later.at(x, y) != earlier.at(x, y)) return false;
    }
  }
  return true;
}

// A page that moves is drawn before it is due, and drawn over where something has changed until then: both
// are one step from the picture before.
TEST_F(X11CapturePicture, putsWhatComesLateIntoAPictureThatWasBegunEarly) {
  serve("320x200x24");
  client->fill({0, 0, 320, 200}, kBlue);
  ASSERT_TRUE(start(withoutPointer(configurationOf(320, 200))));
  ASSERT_TRUE(test::eventually([this] { return count() == 1; }));
  std::mt19937 random(5);
  std::uint32_t color = 0;
  const auto drawAPageAndLetters = [&] {
    color = (color + 0x010203) & 0xFFFFFF;
    client->fill({0, static_cast<int>(random() % 4), 320, 190}, color);
    for (int i = 0; i < 10; ++i)
      client->fill({static_cast<int>(random() % 280), 194, 7, 5}, color ^ random() % 256);
  };
  // Numbers of pictures are given to what is drawn: a step of two was drawn twice. When that happens is up to
  // the system's timers, so pages come until it did a few times.
  const auto drawnTwice = [this] {
    const std::lock_guard lock(mutex);
    return std::count_if(pictures.begin(), pictures.end(), [](const TakenPicture& picture) {
      return picture.change.picture > picture.change.previous + 1;
    });
  };
  ASSERT_TRUE(test::eventually(
      [&] {
        for (int i = 0; i < 10; ++i) drawAPageAndLetters();
        return drawnTwice() >= 3;
      },
      std::chrono::seconds(60)));
  client->fill({300, 190, 5, 5}, kPureRed);
  ASSERT_TRUE(showsColor(302, 192, kPureRed));
  stop();
  EXPECT_EQ(latest()->at(10, 100), color);
  for (std::size_t i = 1; i < pictures.size(); ++i) {
    EXPECT_EQ(pictures[i].change.previous, pictures[i - 1].change.picture) << i;
    EXPECT_TRUE(differsOnlyWhereItSays(pictures[i - 1], pictures[i])) << i;
  }
}

TEST_F(X11CapturePicture, hasThePointerInItAndNothingLeftBehind) {
  serve("640x400x24");
  client->fill({0, 0, 640, 400}, kBlue);
  client->setSquarePointer(16, kPureRed);
  client->movePointer(100, 50);
  ASSERT_TRUE(start(configurationOf(640, 400)));
  ASSERT_TRUE(showsColor(108, 58, kPureRed));
  EXPECT_EQ(latest()->at(98, 58), kBlue);
  // Its motion alone makes a picture.
  client->movePointer(300, 200);
  ASSERT_TRUE(showsColor(308, 208, kPureRed));
  EXPECT_EQ(latest()->at(108, 58), kBlue);
  // So does its shape.
  client->setSquarePointer(16, 0x20C040);
  ASSERT_TRUE(showsColor(308, 208, 0x20C040));
  // What is drawn below it shows when it goes.
  client->fill({0, 0, 640, 400}, 0x777777);
  client->movePointer(5, 5);
  ASSERT_TRUE(showsColor(308, 208, 0x777777));
  // Half outside.
  client->movePointer(639, 399);
  EXPECT_TRUE(showsColor(639, 399, 0x20C040));
}

TEST_F(X11CapturePicture, seesEveryMotionOfThePointerToItsEnd) {
  serve("640x400x24");
  client->setSquarePointer(8, kPureRed);
  ASSERT_TRUE(start(configurationOf(640, 400)));
  for (int round = 0; round < 5; ++round) {
    for (int x = 0; x < 200; ++x) client->movePointer(x + round, 100 + round * 10);
    EXPECT_TRUE(showsColor(203 + round, 104 + round * 10, kPureRed)) << round;
  }
}

TEST_F(X11CapturePicture, hasNoPointerWhenNotWanted) {
  serve("640x400x24");
  client->fill({0, 0, 640, 400}, kBlue);
  client->setSquarePointer(16, kPureRed);
  client->movePointer(100, 50);
  auto configuration = configurationOf(640, 400);
  configuration.showsCursor = false;
  ASSERT_TRUE(start(configuration));
  client->fill({0, 300, 20, 20}, 0x00FF00);
  ASSERT_TRUE(showsColor(10, 310, 0x00FF00));
  EXPECT_EQ(latest()->at(108, 58), kBlue);
}

TEST_F(X11CapturePicture, deliversTheLastChangeOfABurstAtNoMoreThanTheRate) {
  serve("640x400x24");
  auto configuration = configurationOf(640, 400);
  configuration.minimumFrameInterval = std::chrono::milliseconds(100);
  ASSERT_TRUE(start(configuration));
  for (std::uint32_t i = 1; i <= 500; ++i) client->fill({0, 0, 640, 400}, i * 0x211);
  ASSERT_TRUE(showsColor(10, 10, 500 * 0x211));
  const std::lock_guard lock(mutex);
  // A timer's lateness is made up for, which brings two pictures nearer to each other by as much.
  const auto interval = configuration.minimumFrameInterval;
  for (std::size_t i = 0; i < pictures.size(); ++i) {
    for (std::size_t j = i + 1; j < pictures.size(); ++j) {
      EXPECT_GE(pictures[j].time - pictures[i].time, static_cast<int>(j - i) * interval - interval / 16);
    }
  }
}

TEST_F(X11CapturePicture, keepsAChangeUntilTheConsumerGivesABufferBack) {
  serve("640x400x24");
  std::vector<std::shared_ptr<const PixelBuffer>> held;
  onSample = [&](const CaptureSample& sample) {
    const std::lock_guard lock(mutex);
    held.push_back(sample.image);
  };
  auto configuration = configurationOf(640, 400);
  configuration.minimumFrameInterval = std::chrono::milliseconds(1);
  ASSERT_TRUE(start(configuration));
  ASSERT_TRUE(test::eventually([this] { return count() == 1; }));
  for (std::size_t i = 2; i <= 5; ++i) {
    client->fill({0, 0, 640, 400}, static_cast<std::uint32_t>(i));
    ASSERT_TRUE(test::eventually([&] { return count() == i; }));
  }
  client->fill({0, 0, 640, 400}, kPureRed);
  client->fill({600, 390, 5, 5}, kBlue);
  {
    const std::lock_guard lock(mutex);
    EXPECT_EQ(held.size(), 5U);
    held.clear();
  }
  ASSERT_TRUE(showsColor(602, 392, kBlue));
  EXPECT_EQ(latest()->at(10, 10), kPureRed);
  stop();
}

}  // namespace
}  // namespace tevanto
