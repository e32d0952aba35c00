#include "app/ui/PanelPlacement.h"

#include <gtest/gtest.h>

namespace tevanto {
namespace {

constexpr QRect kScreen(0, 0, 1280, 800);
constexpr QSize kPanel(300, 500);

TEST(PanelPlacement, opensUnderAnIconAtTheTop) {
  // A panel of the desktop of 24 points at the top.
  const auto place = placePanel({600, 0, 24, 24}, kPanel, {0, 24, 1280, 776});
  EXPECT_EQ(place, QPoint(600 + 12 - 150, 30));
}

TEST(PanelPlacement, opensAboveAnIconAtTheBottom) {
  const auto place = placePanel({600, 776, 24, 24}, kPanel, {0, 0, 1280, 776});
  EXPECT_EQ(place, QPoint(462, 776 - 6 - 500));
}

TEST(PanelPlacement, staysOnTheScreenBesideTheCorners) {
  EXPECT_EQ(placePanel({1256, 0, 24, 24}, kPanel, {0, 24, 1280, 776}).x(), 1280 - 300 - 6);
  EXPECT_EQ(placePanel({0, 0, 24, 24}, kPanel, {0, 24, 1280, 776}).x(), 6);
}

TEST(PanelPlacement, opensBesideAPanelOfTheDesktopAtAnEdge) {
  // The desktop's panel covers the right 40 points.
  const auto place = placePanel({1244, 300, 32, 32}, kPanel, {0, 0, 1240, 800});
  EXPECT_EQ(place.x(), 1240 - 300 - 6);
  EXPECT_EQ(place.y(), 800 - 500 - 6) << "neither side has room for all of it";
}

TEST(PanelPlacement, opensAtThePointerWhereNoIconIsKnown) {
  EXPECT_EQ(placePanel({QPoint(640, 10), QSize(0, 0)}, kPanel, kScreen), QPoint(490, 16));
  EXPECT_EQ(placePanel({QPoint(640, 790), QSize(0, 0)}, kPanel, kScreen), QPoint(490, 790 - 6 - 500));
}

TEST(PanelPlacement, aPanelLargerThanTheScreenShowsItsBeginning) {
  EXPECT_EQ(placePanel({10, 0, 24, 24}, {400, 900}, {0, 24, 320, 216}), QPoint(6, 30));
}

TEST(PanelPlacement, keepsToTheScreenOfItsIcon) {
  const auto place = placePanel({1400, 0, 24, 24}, kPanel, {1280, 24, 1920, 1056});
  EXPECT_EQ(place, QPoint(1286, 30));
}

}  // namespace
}  // namespace tevanto
