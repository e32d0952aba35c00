// The icon in the menu bar. Needs a session with a display.

#include "platform/macos/application/AppKitStatusItem.h"

#import <AppKit/AppKit.h>
#include <gtest/gtest.h>

#include <optional>
#include <vector>

#include "tests/platform/macos/application/DesktopUser.h"

namespace tevanto::test {
namespace {

class AppKitStatusItemContract : public testing::Test {
 protected:
  AppKitStatusItemContract() {
    [NSApplication.sharedApplication finishLaunching];
    item_.emplace([this](const AppKitStatusItem::Frame& frame) { clicks_.push_back(frame); });
  }
  /// Until the menu bar has given it its place.
  static bool isShown() {
    return eventuallyWithEvents([] {
      const auto icon = menuBarIcon();
      return icon && icon->width > 0 && icon->y < 100;
    });
  }

  std::vector<AppKitStatusItem::Frame> clicks_;
  std::optional<AppKitStatusItem> item_;
};

TEST_F(AppKitStatusItemContract, isInTheMenuBarWithATemplateImageUntilItIsGone) {
  ASSERT_TRUE(isShown());
  EXPECT_TRUE(menuBarIcon()->hasTemplateImage);
  EXPECT_GT(menuBarIcon()->imageWidth, 0);
  item_.reset();
  EXPECT_TRUE(eventuallyWithEvents([] { return !menuBarIcon(); }));
}

TEST_F(AppKitStatusItemContract, showsWavesBesideThePhoneWhileOneIsConnected) {
  ASSERT_TRUE(isShown());
  const auto alone = menuBarIcon()->imageWidth;
  item_->showConnected(true);
  EXPECT_GT(menuBarIcon()->imageWidth, alone);
  EXPECT_TRUE(menuBarIcon()->hasTemplateImage);
  item_->showConnected(false);
  EXPECT_EQ(menuBarIcon()->imageWidth, alone);
}

TEST_F(AppKitStatusItemContract, tellsWhereItIsWhenItIsPressed) {
  ASSERT_TRUE(isShown());
  const auto icon = *menuBarIcon();
  ASSERT_TRUE(pressMenuBarIcon());
  ASSERT_EQ(clicks_.size(), 1u);
  EXPECT_EQ(clicks_[0].x, icon.x);
  EXPECT_EQ(clicks_[0].y, icon.y);
  EXPECT_EQ(clicks_[0].width, icon.width);
  EXPECT_EQ(clicks_[0].height, icon.height);
}

}  // namespace
}  // namespace tevanto::test
