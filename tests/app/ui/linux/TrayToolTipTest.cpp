#include "app/ui/linux/TrayToolTip.h"

#include <gtest/gtest.h>

namespace tevanto {
namespace {

TEST(TrayToolTip, tellsWhetherAPhoneIsConnectedAndSeesTheScreen) {
  EXPECT_EQ(trayToolTip(false, false), "Tevanto: no phone is connected");
  EXPECT_EQ(trayToolTip(true, false), "Tevanto: a phone is connected; your screen is not mirrored");
  EXPECT_EQ(trayToolTip(true, true), "Tevanto: your screen is being mirrored");
  EXPECT_EQ(trayToolTip(false, true), "Tevanto: your screen is being mirrored") << "never missed";
}

}  // namespace
}  // namespace tevanto
