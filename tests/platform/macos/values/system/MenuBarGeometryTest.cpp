#include "platform/macos/values/system/MenuBarGeometry.h"

#include <gtest/gtest.h>

namespace tevanto {
namespace {

TEST(MenuBarGeometry, countsFromTheTopOfTheMainDisplay) {
  EXPECT_EQ(topLeftY(876, 24, 900), 0) << "in the menu bar";
  EXPECT_EQ(topLeftY(0, 100, 900), 800) << "at the lower edge";
  EXPECT_EQ(topLeftY(900, 24, 900), -24) << "on a display above";
}

}  // namespace
}  // namespace tevanto
