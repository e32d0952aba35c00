#include "screen/picture/ChangedArea.h"

#include <gtest/gtest.h>

#include <random>

#include "screen/picture/PictureHistory.h"

namespace tevanto {
namespace {

ChangedArea areaOf(const std::vector<PixelRect>& rects) {
  ChangedArea area;
  for (const auto& rect : rects) area.add(rect);
  return area;
}

std::vector<PixelRect> rectsOf(const ChangedArea& area) { return {area.rects().begin(), area.rects().end()}; }

TEST(ChangedArea, joinsWhatIsNearAndKeepsApartWhatIsFar) {
  const struct {
    std::vector<PixelRect> added;
    std::vector<PixelRect> rects;
  } rows[] = {
      {{}, {}},
      {{{5, 5, 0, 9}}, {}},
      {{{1, 2, 3, 4}}, {{1, 2, 3, 4}}},
      {{{0, 0, 10, 10}, {50, 5, 10, 10}}, {{0, 0, 60, 15}}},                       // the same rows
      {{{0, 0, 10, 10}, {5, 20, 10, 10}}, {{0, 0, 15, 30}}},                       // rows near each other
      {{{0, 500, 10, 10}, {5, 20, 10, 10}}, {{5, 20, 10, 10}, {0, 500, 10, 10}}},  // far: from the top down
      {{{0, 0, 9, 10}, {0, 40, 9, 10}, {0, 20, 9, 10}}, {{0, 0, 9, 50}}},          // the third joins the two
  };
  for (const auto& row : rows) EXPECT_EQ(rectsOf(areaOf(row.added)), row.rects);
}

TEST(ChangedArea, becomesOneWhenThereAreTooMany) {
  ChangedArea area;
  for (int i = 0; i < 9; ++i) area.add({i, i * 100, 1, 1});
  EXPECT_EQ(rectsOf(area), (std::vector<PixelRect>{{0, 0, 9, 801}}));
}

TEST(ChangedArea, coversEverythingThatWasAddedWithoutSharedRows) {
  std::mt19937 random(3);
  for (int round = 0; round < 200; ++round) {
    ChangedArea area;
    std::vector<PixelRect> added;
    for (int i = 0; i < 12; ++i) {
      const PixelRect rect{static_cast<int>(random() % 900), static_cast<int>(random() % 900),
                           1 + static_cast<int>(random() % 60), 1 + static_cast<int>(random() % 60)};
      area.add(rect);
      added.push_back(rect);
    }
    for (const auto& rect : added) {
      bool covered = false;
      for (const auto& own : area.rects()) covered = covered || intersection(own, rect) == rect;
      EXPECT_TRUE(covered);
    }
    for (std::size_t i = 1; i < area.rects().size(); ++i) {
      EXPECT_GE(area.rects()[i].y, area.rects()[i - 1].y + area.rects()[i - 1].height);
    }
  }
}

TEST(PictureHistory, tellsWhatARecycledBufferLacks) {
  const PixelRect whole{0, 0, 1000, 1000};
  const auto everything = rectsOf(areaOf({whole}));
  PictureHistory history(whole);
  EXPECT_EQ(history.add(areaOf({whole})), 1U);
  EXPECT_FALSE(history.continues());
  EXPECT_EQ(history.add(areaOf({{0, 0, 10, 10}})), 2U);
  EXPECT_TRUE(history.continues());
  EXPECT_EQ(history.add(areaOf({{0, 500, 10, 10}})), 3U);
  EXPECT_EQ(rectsOf(history.since(0)), everything);
  EXPECT_EQ(rectsOf(history.since(9)), everything) << "a picture of the future is none of these";
  EXPECT_EQ(rectsOf(history.since(1)), (std::vector<PixelRect>{{0, 0, 10, 10}, {0, 500, 10, 10}}));
  EXPECT_EQ(rectsOf(history.since(2)), (std::vector<PixelRect>{{0, 500, 10, 10}}));
  EXPECT_TRUE(history.since(3).empty());
}

TEST(PictureHistory, startsAnewWithAnotherShape) {
  const PixelRect whole{0, 0, 1000, 1000};
  const PixelRect other{0, 0, 800, 600};
  PictureHistory history(whole);
  history.add(areaOf({whole}));
  history.add(areaOf({{0, 0, 10, 10}}));
  history.restart(other);
  EXPECT_EQ(history.add(areaOf({other})), 3U);
  EXPECT_FALSE(history.continues());
  EXPECT_EQ(rectsOf(history.since(2)), rectsOf(areaOf({other})));
  for (int i = 0; i < 40; ++i) history.add(areaOf({{0, 0, 1, 1}}));
  EXPECT_EQ(rectsOf(history.since(3)), rectsOf(areaOf({other}))) << "too long ago";
}

}  // namespace
}  // namespace tevanto
