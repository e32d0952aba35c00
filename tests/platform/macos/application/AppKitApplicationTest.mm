// This process as an application of the Mac. Needs a session with a display.

#include "platform/macos/application/AppKitApplication.h"

#import <AppKit/AppKit.h>
#include <gtest/gtest.h>

#include <optional>

#include "platform/macos/application/AppKitMotion.h"
#include "tests/platform/macos/application/DesktopUser.h"

namespace tevanto::test {
namespace {

class AppKitApplicationContract : public testing::Test {
 protected:
  int reopenings_ = 0;
  std::optional<AppKitApplication> application_{[this] { ++reopenings_; }};
};

TEST_F(AppKitApplicationContract, isInTheDockOnlyWhileItIsRegular) {
  application_->becomeAccessory();
  EXPECT_FALSE(isInTheDock());
  application_->becomeRegular();
  EXPECT_TRUE(isInTheDock());
  application_->becomeAccessory();
  EXPECT_FALSE(isInTheDock());
}

TEST_F(AppKitApplicationContract, comesForward) {
  [NSApplication.sharedApplication finishLaunching];
  application_->becomeRegular();
  application_->activateIgnoringOtherApps();
  EXPECT_TRUE(eventuallyWithEvents([] { return static_cast<bool>(NSApplication.sharedApplication.active); }));
}

TEST_F(AppKitApplicationContract, isToldThatItWasOpenedAgain) {
  EXPECT_TRUE(openAgain());
  EXPECT_EQ(reopenings_, 1);
}

TEST_F(AppKitApplicationContract, isToldSoStillAfterTheApplicationHasLaunched) {
  [NSApplication.sharedApplication finishLaunching];  // where AppKit puts its own handlers in place
  EXPECT_TRUE(openAgain());
  EXPECT_EQ(reopenings_, 1);
  EXPECT_TRUE(openAgain());
  EXPECT_EQ(reopenings_, 2);
}

TEST_F(AppKitApplicationContract, isToldNothingOnceItIsGone) {
  application_.reset();
  (void)openAgain();  // to nobody
  EXPECT_EQ(reopenings_, 0);
}

/// As the system does when the user changes a setting of the display's.
void postDisplayOptionsChange() {
  [NSWorkspace.sharedWorkspace.notificationCenter
      postNotificationName:NSWorkspaceAccessibilityDisplayOptionsDidChangeNotification
                    object:nil];
}

TEST(AppKitMotionContract, tellsOfEachChangeWhatHoldsThenUntilItIsGone) {
  int changes = 0;
  bool isReduced = !AppKitMotion::isReduced();
  {
    const AppKitMotion motion([&](bool reduced) {
      ++changes;
      isReduced = reduced;
    });
    EXPECT_EQ(changes, 0);
    postDisplayOptionsChange();
    EXPECT_EQ(changes, 1);
    EXPECT_EQ(isReduced, AppKitMotion::isReduced());
  }
  postDisplayOptionsChange();
  EXPECT_EQ(changes, 1);
}

}  // namespace
}  // namespace tevanto::test
