// What arrives on the phone's side of the real programs: how clear it is, how old, and at what price.

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <mutex>
#include <vector>

#include "tests/e2e/MirroringFixture.h"
#include "tests/support/video/MirrorViewer.h"
#include "tests/support/video/MovingPage.h"

namespace tevanto {
namespace {

using test::DecodedPicture;
using test::MirrorViewer;
using test::MovingPage;
using test::PageOfPictures;

constexpr std::size_t kMegabyte = 1024 * 1024;
/// By how much memory may differ from one moment to another while a route is full: by all that it may hold,
/// three megabytes at one moment and next to nothing at the other, and what the heap keeps. A queue without
/// an end would have grown by some fifty kilobytes with each picture.
constexpr std::size_t kFullRoute = 6 * kMegabyte;

/// What was seen, picture by picture.
struct Sight {
  int number = 0;
  int behind = 0;  // pictures that were drawn since
  double decibel = 0;
  std::size_t bytes = 0;
  bool isKeyframe = false;
};

class Sights {
 public:
  void add(const Sight& sight) {
    const std::lock_guard lock(mutex_);
    all_.push_back(sight);
  }
  std::vector<Sight> all() const {
    const std::lock_guard lock(mutex_);
    return all_;
  }
  Sight last() const {
    const std::lock_guard lock(mutex_);
    return all_.empty() ? Sight() : all_.back();
  }

 private:
  mutable std::mutex mutex_;
  std::vector<Sight> all_;
};

class MirroredPictures : public Mirroring {
 protected:
  std::uint16_t screenPort() const { return static_cast<std::uint16_t>(now().screenPort); }
  MirrorViewer::OnPicture noteIn(Sights& sights, const PageOfPictures& page, const std::atomic<int>& latest,
                                 bool measures) const {
    return [&, measures](const DecodedPicture& picture, const MirrorViewer::Frame& frame) {
      const auto number = PageOfPictures::numberIn(picture);
      if (!number) return;
      sights.add({*number, latest - *number, measures ? page.likeness(picture, *number) : 0, frame.bytes,
                  frame.isKeyframe});
    };
  }
};

TEST_F(MirroredPictures, denseTextAtRestGetsClearAndThenNothingIsSent) {
  const PageOfPictures page(0);
  test::DrawingXClient client(desktop.display().display());
  client.movePointer(1279, 799);
  client.draw(page.picture(1));
  Sights sights;
  const std::atomic<int> latest = 1;
  MirrorViewer viewer(screenPort(), token(), noteIn(sights, page, latest, true));
  ASSERT_TRUE(eventually([&] { return sights.last().decibel >= 38; }))
      << sights.last().decibel << " dB after " << sights.all().size();
  // Refinement ends by itself; then the companion does nothing any more.
  const auto rests = [&] {
    return eventually([&, frames = 0]() mutable {
      const auto before = std::exchange(frames, viewer.pictures());
      std::this_thread::sleep_for(std::chrono::seconds(1));  // longer than between two refinements
      return before == viewer.pictures();
    });
  };
  ASSERT_TRUE(rests());
  const auto frames = viewer.pictures();
  EXPECT_LE(frames, 11);
  const auto ticks = processorTicks();
  std::this_thread::sleep_for(std::chrono::seconds(2));  // a window in which nothing may happen
  EXPECT_EQ(viewer.pictures(), frames);
  EXPECT_LE(processorTicks() - ticks, 1);
  // Key frames of a picture at rest are as good as the first, and get clear again.
  for (int request = 0; request < 3; ++request) {
    const auto keyframes = viewer.keyframes();
    viewer.askForKeyframe();
    ASSERT_TRUE(eventually([&] { return viewer.keyframes() > keyframes; }));
    ASSERT_TRUE(rests());
    EXPECT_GE(sights.last().decibel, 38);
  }
  double worst = 99;
  for (const auto& sight : sights.all()) {
    std::printf("%s %zu bytes %.1f dB\n", sight.isKeyframe ? "key" : "   ", sight.bytes, sight.decibel);
    if (sight.isKeyframe) worst = std::min(worst, sight.decibel);
  }
  EXPECT_GE(worst, sights.all().front().decibel - 1);
  EXPECT_EQ(viewer.errors(), 0);
}

TEST_F(MirroredPictures, aSessionLeavesNothingBehindAndTheScreenGoesOnUnseen) {
  const PageOfPictures page(52);
  const auto sockets = countSockets();
  std::atomic<int> latest = 0;
  Sights sights;
  MovingPage moving(desktop.display().display(), page, 15);
  std::size_t during = 0;
  for (int session = 0; session < 3; ++session) {
    const auto begin = sights.all().size();
    MirrorViewer viewer(screenPort(), token(), noteIn(sights, page, latest, false));
    ASSERT_TRUE(eventually([&] { return sights.all().size() >= begin + 15; }));
    during = residentMemory();
    EXPECT_GE(mappedSegments(), 1) << "the screen is read through shared memory";
  }
  ASSERT_TRUE(eventually([&] { return residentMemory() + 15 * kMegabyte < during; }))
      << during / 1024 << " KiB in the session, " << residentMemory() / 1024 << " KiB after it";
  EXPECT_TRUE(eventually([&] { return mappedSegments() == 0; }));
  EXPECT_TRUE(eventually([&] { return countSockets() <= sockets; }))
      << countSockets() << " of " << sockets
      << " connections: one to the X server holds what is captured there";
  // The page goes on, and nobody looks at it or encodes it.
  const auto ticks = processorTicks();
  const auto drawn = moving.latest();
  ASSERT_TRUE(eventually([&] { return moving.latest() >= drawn + 60; }, std::chrono::minutes(2)));
  EXPECT_LE(processorTicks() - ticks, 2);
  std::printf("%zu KiB in the session, %zu KiB after it, %ld ticks while unseen\n", during / 1024,
              residentMemory() / 1024, processorTicks() - ticks);
}

/// Those that show the page on its way: each shows the picture that was drawn right after the one before, as
/// far back as `kWay`, with no key frame among them. On a busy machine pictures are passed over, and the page
/// jumps.
std::vector<Sight> steady(const std::vector<Sight>& all) {
  constexpr std::size_t kWay = 15;  // a second, in which the first key frame is paid off
  std::vector<Sight> found;
  for (std::size_t i = kWay; i < all.size(); ++i) {
    bool isSteady = !all[i].isKeyframe;
    for (auto j = i - kWay; j < i; ++j) {
      isSteady = isSteady && all[j + 1].number == all[j].number + 1 && !all[j].isKeyframe;
    }
    if (isSteady) found.push_back(all[i]);
  }
  return found;
}

TEST_F(MirroredPictures, scrollingTextStaysLegible) {
  // What one step of a wheel scrolls in a browser, half of that, and a line or so.
  for (const int step : {52, 26, 13}) {
    const PageOfPictures page(step);
    Sights sights;
    std::atomic<int> latest = 0;
    MirrorViewer viewer(screenPort(), token(), noteIn(sights, page, latest, true));
    MovingPage moving(desktop.display().display(), page, 15);
    ASSERT_TRUE(eventually([&] { return sights.all().size() >= 90 && steady(sights.all()).size() >= 30; },
                           std::chrono::minutes(2)))
        << steady(sights.all()).size() << " of " << sights.all().size();
    double sum = 0, worst = 99;
    const auto all = sights.all();
    for (const auto& sight : all) sum += sight.decibel;
    for (const auto& sight : steady(all)) worst = std::min(worst, sight.decibel);
    const auto mean = sum / static_cast<double>(all.size());
    std::printf("scrolling by %d rows: mean %.1f dB of %zu, worst %.1f dB of %zu on their way\n", step, mean,
                all.size(), worst, steady(all).size());
    EXPECT_GE(mean, 28) << step;
    EXPECT_GE(worst, 28) << step;
    EXPECT_EQ(viewer.errors(), 0);
  }
}

TEST_F(MirroredPictures, aReaderOfOneMegabitGetsFewerFramesAndNoGrowingDelay) {
  const PageOfPictures page(26);
  Sights sights;
  std::atomic<int> latest = 0;
  MovingPage moving(desktop.display().display(), page, 15);
  MirrorViewer viewer(
      screenPort(), token(),
      [&](const DecodedPicture& picture, const MirrorViewer::Frame& frame) {
        latest = moving.latest();
        noteIn(sights, page, latest, false)(picture, frame);
      },
      1'000'000 / 8);
  std::size_t memory = 0;  // the most so far
  const auto picturesOf = [&](int count) {
    return eventually(
        [&] {
          memory = std::max(memory, residentMemory());
          return moving.latest() >= count;
        },
        std::chrono::minutes(5));
  };
  ASSERT_TRUE(picturesOf(600));
  const auto first = sights.all().size();
  ASSERT_TRUE(picturesOf(900));
  const auto second = sights.all().size();
  const auto earlierMemory = memory;
  ASSERT_TRUE(picturesOf(1200));
  const auto all = sights.all();
  const auto mostBehind = [&](std::size_t begin, std::size_t end) {
    int most = 0;
    for (auto i = begin; i < end; ++i) most = std::max(most, all[i].behind);
    return most;
  };
  ASSERT_GT(second, first);
  ASSERT_GT(all.size(), second);
  const int earlier = mostBehind(first, second);
  const int later = mostBehind(second, all.size());
  std::printf("throttled: %zu of %d pictures, behind %d then %d, memory %zu then %zu KiB\n", all.size(),
              moving.latest(), earlier, later, earlierMemory / 1024, memory / 1024);
  EXPECT_LT(all.size(), 600u);
  // Half a megabyte and a few key frames wait for the reader at the most, where three could: what they hold
  // is ten seconds old, besides what the machine itself adds.
  EXPECT_LE(later, earlier + earlier / 5 + 15) << "pictures behind what is drawn";
  EXPECT_LE(later, 225) << "pictures behind what is drawn";
  EXPECT_LE(memory, earlierMemory + kFullRoute);
  EXPECT_EQ(viewer.errors(), 0);
}

TEST_F(MirroredPictures, aReaderThatStopsCostsNothingAndReturnsWithAKeyFrame) {
  const PageOfPictures page(26);
  Sights sights;
  std::atomic<int> latest = 0;
  MovingPage moving(desktop.display().display(), page, 15);
  MirrorViewer viewer(screenPort(), token(), noteIn(sights, page, latest, false));
  const auto drawnSince = [&](int begin, int count) {
    return eventually([&] { return moving.latest() >= begin + count; }, std::chrono::minutes(1));
  };
  ASSERT_TRUE(eventually([&] { return sights.all().size() >= 30; }));
  auto begin = moving.latest();
  auto ticks = processorTicks();
  ASSERT_TRUE(drawnSince(begin, 60));
  const auto whileWatched = processorTicks() - ticks;

  viewer.pause();
  begin = moving.latest();
  ASSERT_TRUE(drawnSince(begin, 180));  // key frames come far apart by now
  const auto memory = residentMemory();
  ticks = processorTicks();
  ASSERT_TRUE(drawnSince(begin, 240));
  const auto whileStopped = processorTicks() - ticks;
  std::printf("60 pictures: %ld ticks watched, %ld stopped; memory %zu then %zu KiB\n", whileWatched,
              whileStopped, memory / 1024, residentMemory() / 1024);
  EXPECT_LE(whileStopped, whileWatched / 2) << "the screen is looked at, and a key frame now and then";
  EXPECT_LE(residentMemory(), memory + kFullRoute);

  const auto keyframes = viewer.keyframes();
  const int returned = moving.latest();
  viewer.resume();
  ASSERT_TRUE(eventually([&] { return sights.last().number >= returned; }));
  EXPECT_GT(viewer.keyframes(), keyframes);
  EXPECT_EQ(viewer.errors(), 0);
}

}  // namespace
}  // namespace tevanto
