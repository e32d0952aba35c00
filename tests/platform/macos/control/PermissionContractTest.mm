// What the user allows this program, held against what it can do. macOS asks for the program that starts the
// tests. Whoever runs this sees the pointer move, and pages of System Settings come and go.

#import <AppKit/AppKit.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <future>
#include <memory>
#include <utility>

#include "platform/macos/control/AxAccessibilityPermission.h"
#include "platform/macos/control/CoreGraphicsInputEvents.h"
#include "platform/macos/screen/CoreGraphicsScreenPermission.h"
#include "platform/macos/screen/ScreenCaptureKitSource.h"
#include "tests/platform/macos/application/DesktopUser.h"
#include "tests/support/programs/Eventually.h"

namespace tevanto::test {
namespace {

/// Whether an event that was posted moves the pointer, which is put back.
bool inputArrives() {
  CoreGraphicsInputEvents events;
  const auto before = events.pointerLocation();
  const PointerLocation target{before.x < 300 ? before.x + 100 : before.x - 100, before.y};
  events.postMouse({MouseEventType::moved, target, 0, 0});
  const bool arrived = eventually([&] { return std::abs(events.pointerLocation().x - target.x) < 2; },
                                  std::chrono::seconds(5));
  events.warpPointer(before);
  return arrived;
}

bool displaysAreListed() {
  const auto listed = std::make_shared<std::promise<bool>>();
  auto answer = listed->get_future();
  ScreenCaptureKitSource displays;
  displays.listDisplays([listed](const auto& found) { listed->set_value(found.ok()); });
  if (answer.wait_for(std::chrono::minutes(1)) != std::future_status::ready) {
    ADD_FAILURE() << "the system does not answer";
    return false;
  }
  return answer.get();
}

/// Also asks from another thread, as the servers do for every command.
template <class Ask>
bool askedFromTwoThreads(Ask ask) {
  const bool here = ask();
  EXPECT_EQ(std::async(std::launch::async, ask).get(), here);
  return here;
}

TEST(AccessibilityPermissionContract, isTrustedWhenInputArrivesAndOnlyThen) {
  EXPECT_EQ(askedFromTwoThreads([] { return AxAccessibilityPermission().isTrusted(); }), inputArrives());
}

TEST(ScreenCapturePermissionContract, isGrantedWhenDisplaysAreListedAndOnlyThen) {
  EXPECT_EQ(askedFromTwoThreads([] { return CoreGraphicsScreenPermission().isGranted(); }),
            displaysAreListed());
}

/// System Settings, which is closed again.
class PermissionRequestContract : public testing::Test {
 protected:
  static NSArray<NSRunningApplication*>* settings() {
    return [NSRunningApplication runningApplicationsWithBundleIdentifier:@"com.apple.systempreferences"];
  }
  static bool areShown() { return settings().firstObject != nil; }

  void SetUp() override {
    if (areShown()) GTEST_SKIP() << "System Settings is open already; close it first";
    mayClose_ = true;
  }
  void TearDown() override {
    if (!mayClose_) return;
    for (NSRunningApplication* each in settings()) [each terminate];
    EXPECT_TRUE(eventuallyWithEvents([] { return !areShown(); }));
  }

 private:
  bool mayClose_ = false;
};

TEST_F(PermissionRequestContract, ofAccessibilityShowsThePageOfTheSettings) {
  AxAccessibilityPermission().request();
  EXPECT_TRUE(eventuallyWithEvents(areShown));
}

TEST_F(PermissionRequestContract, ofTheScreenShowsThePageOfTheSettingsWhileItIsMissing) {
  CoreGraphicsScreenPermission permission;
  if (permission.isGranted()) GTEST_SKIP() << "the permission to record the screen is there already";
  permission.request();
  EXPECT_TRUE(eventuallyWithEvents(areShown));
}

}  // namespace
}  // namespace tevanto::test
