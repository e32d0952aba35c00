#include "screen/picture/FramePacer.h"

#include <gtest/gtest.h>

#include <vector>

namespace tevanto {
namespace {

using std::chrono::milliseconds;

// Changes at the given times, in milliseconds, and the pictures that come of them; looking at the screen and
// delivering takes no time.
std::vector<int> picturesOf(const std::vector<int>& changes, int until) {
  FramePacer pacer(milliseconds(100));
  std::vector<int> pictures;
  std::size_t next = 0;
  for (int now = 0; now <= until; ++now) {
    while (next < changes.size() && changes[next] == now) {
      pacer.changed();
      ++next;
    }
    const FramePacer::TimePoint time{std::chrono::seconds(1000) + milliseconds(now)};
    if (pacer.wait(time) != FramePacer::Duration::zero()) continue;
    pacer.beginPicture();
    pacer.delivered(time);
    pictures.push_back(now);
  }
  return pictures;
}

TEST(FramePacer, followsTheTable) {
  const struct {
    std::vector<int> changes;
    std::vector<int> pictures;
  } rows[] = {
      {{}, {}},
      {{7}, {7}},                                    // after rest: at once, not at a tick
      {{7, 9}, {7, 107}},                            // the last of a burst comes, one interval later
      {{0, 10, 20, 30}, {0, 100}},                   // all of a burst in one
      {{0, 100, 200}, {0, 100, 200}},                // at exactly the rate
      {{0, 60, 120, 180, 240}, {0, 100, 200, 300}},  // faster than the rate
      {{0, 150, 300}, {0, 150, 300}},                // slower: each at once
      {{0, 5, 400, 405}, {0, 100, 400, 500}},        // rest in between
  };
  for (const auto& row : rows) EXPECT_EQ(picturesOf(row.changes, 1000), row.pictures);
}

TEST(FramePacer, saysHowLongToWait) {
  FramePacer pacer(milliseconds(100));
  const FramePacer::TimePoint start{std::chrono::hours(1)};
  EXPECT_FALSE(pacer.wait(start));
  pacer.changed();
  EXPECT_EQ(pacer.wait(start), milliseconds(0));
  pacer.beginPicture();
  pacer.delivered(start);
  EXPECT_FALSE(pacer.wait(start + milliseconds(1)));
  pacer.changed();
  EXPECT_EQ(pacer.wait(start + milliseconds(1)), milliseconds(99));
  EXPECT_EQ(pacer.wait(start + milliseconds(500)), milliseconds(0));
}

// Begun late by a little, as timers are: the next one is due when it would have been. By more: one interval
// later.
TEST(FramePacer, isNotPutOffByWhatIsALittleLate) {
  const struct {
    milliseconds late;
    milliseconds next;
  } rows[] = {{milliseconds(0), milliseconds(160)},
              {milliseconds(9), milliseconds(151)},
              {milliseconds(10), milliseconds(160)},
              {milliseconds(300), milliseconds(160)}};
  for (const auto& row : rows) {
    FramePacer pacer(milliseconds(160));
    const FramePacer::TimePoint start{std::chrono::hours(1)};
    pacer.delivered(start);
    pacer.changed();
    const auto begun = start + milliseconds(160) + row.late;
    EXPECT_EQ(pacer.wait(begun), milliseconds(0));
    pacer.beginPicture();
    pacer.delivered(begun);
    pacer.changed();
    EXPECT_EQ(pacer.wait(begun), row.next) << row.late.count();
  }
}

TEST(FramePacer, seesAChangeThatComesWhileAPictureIsTaken) {
  FramePacer pacer(milliseconds(100));
  const FramePacer::TimePoint start{std::chrono::hours(1)};
  pacer.changed();
  pacer.beginPicture();
  pacer.changed();
  pacer.delivered(start);
  EXPECT_EQ(pacer.wait(start), milliseconds(100));
}

TEST(FramePacer, forgetsAChangeThatShowedNothing) {
  FramePacer pacer(milliseconds(100));
  const FramePacer::TimePoint start{std::chrono::hours(1)};
  pacer.changed();
  pacer.beginPicture();
  EXPECT_FALSE(pacer.wait(start));
  pacer.changed();
  EXPECT_EQ(pacer.wait(start), milliseconds(0)) << "nothing went out, so nothing holds the next one up";
}

TEST(FramePacer, keepsAChangeThatNobodyTook) {
  FramePacer pacer(milliseconds(100));
  const FramePacer::TimePoint start{std::chrono::hours(1)};
  pacer.changed();
  pacer.beginPicture();
  pacer.postponed(start);
  EXPECT_EQ(pacer.wait(start), milliseconds(100));
}

}  // namespace
}  // namespace tevanto
