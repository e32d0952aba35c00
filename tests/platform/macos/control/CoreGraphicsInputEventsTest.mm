// What is posted, seen by an event tap that lets none of it on to the applications. Whoever runs this sees
// the pointer move. Needs the accessibility permission for the program that starts the test.

#include "platform/macos/control/CoreGraphicsInputEvents.h"

#import <ApplicationServices/ApplicationServices.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

#include "platform/macos/control/AxAccessibilityPermission.h"
#include "platform/macos/foundation/CfOwned.h"
#include "tests/platform/macos/application/DesktopUser.h"

namespace tevanto::test {
namespace {

constexpr std::uint64_t kOurFlags = eventFlag::kShift | eventFlag::kControl | eventFlag::kOption |
                                    eventFlag::kCommand | eventFlag::kNumericPad |
                                    eventFlag::kSecondaryFunction;

struct Seen {
  std::uint32_t type = 0;
  std::int64_t keyCode = 0;
  std::uint64_t flags = 0;
  std::u16string text;
  std::int64_t clickState = 0;
  std::int64_t vertical = 0;
  std::int64_t horizontal = 0;
};

Seen read(CGEventType type, CGEventRef event) {
  Seen seen{.type = type, .flags = CGEventGetFlags(event) & kOurFlags};
  if (type == kCGEventScrollWheel) {
    seen.vertical = CGEventGetIntegerValueField(event, kCGScrollWheelEventPointDeltaAxis1);
    seen.horizontal = CGEventGetIntegerValueField(event, kCGScrollWheelEventPointDeltaAxis2);
  } else if (type == kCGEventKeyDown || type == kCGEventKeyUp) {
    seen.keyCode = CGEventGetIntegerValueField(event, kCGKeyboardEventKeycode);
    UniChar units[64];
    UniCharCount length = 0;
    CGEventKeyboardGetUnicodeString(event, 64, &length, units);
    seen.text.assign(units, units + length);
  } else {
    seen.clickState = CGEventGetIntegerValueField(event, kCGMouseEventClickState);
  }
  return seen;
}

/// Takes the events that this process posts out of the session's stream.
class EventTap {
 public:
  EventTap()
      : port_(CGEventTapCreate(kCGSessionEventTap, kCGHeadInsertEventTap, kCGEventTapOptionDefault,
                               maskOf({kCGEventKeyDown, kCGEventKeyUp, kCGEventRightMouseDown,
                                       kCGEventRightMouseUp, kCGEventScrollWheel}),
                               &EventTap::take, this)) {
    if (!port_) return;
    source_ = CfOwned<CFRunLoopSourceRef>(CFMachPortCreateRunLoopSource(kCFAllocatorDefault, port_.get(), 0));
    CFRunLoopAddSource(CFRunLoopGetCurrent(), source_.get(), kCFRunLoopCommonModes);
  }
  ~EventTap() {
    if (port_) CFMachPortInvalidate(port_.get());
  }
  EventTap(const EventTap&) = delete;
  EventTap& operator=(const EventTap&) = delete;

  explicit operator bool() const { return static_cast<bool>(port_); }
  /// What came through, once there are so many.
  std::vector<Seen> events(std::size_t count) {
    EXPECT_TRUE(eventuallyWithEvents([&] { return seen_.size() >= count; }));
    return seen_.size() == count ? seen_ : std::vector<Seen>(count);
  }

 private:
  static CGEventMask maskOf(std::initializer_list<CGEventType> types) {
    CGEventMask mask = 0;
    for (const auto type : types) mask |= CGEventMask{1} << type;
    return mask;
  }
  static CGEventRef take(CGEventTapProxy, CGEventType type, CGEventRef event, void* context) {
    const bool isOurs =
        event && CGEventGetIntegerValueField(event, kCGEventSourceUnixProcessID) == ::getpid();
    if (!isOurs) return event;
    static_cast<EventTap*>(context)->seen_.push_back(read(type, event));
    return nullptr;
  }

  std::vector<Seen> seen_;
  CfOwned<CFMachPortRef> port_;
  CfOwned<CFRunLoopSourceRef> source_;
};

class CoreGraphicsInputEventsContract : public testing::Test {
 protected:
  void SetUp() override {
    if (!AxAccessibilityPermission().isTrusted())
      GTEST_SKIP() << "the terminal has no accessibility permission";
    ASSERT_TRUE(tap_) << "there is no event tap";
  }

  EventTap tap_;
  CoreGraphicsInputEvents events_;
};

TEST_F(CoreGraphicsInputEventsContract, thePointerIsWhereItWasPut) {
  const auto before = events_.pointerLocation();
  events_.warpPointer({200, 100});
  EXPECT_TRUE(events_.postMouse({MouseEventType::moved, {200, 100}, 0, 0}));
  EXPECT_NEAR(events_.pointerLocation().x, 200, 1);
  EXPECT_NEAR(events_.pointerLocation().y, 100, 1);
  events_.warpPointer(before);
}

TEST_F(CoreGraphicsInputEventsContract, aKeyCarriesItsCodeAndFlags) {
  constexpr std::uint16_t kF20 = 90;
  constexpr auto kFlags = eventFlag::kControl | eventFlag::kSecondaryFunction;
  EXPECT_TRUE(events_.postKey({kF20, KeyDirection::down, kFlags}));
  EXPECT_TRUE(events_.postKey({kF20, KeyDirection::up, kFlags}));
  const auto seen = tap_.events(2);
  EXPECT_EQ(seen[0].type, kCGEventKeyDown);
  EXPECT_EQ(seen[1].type, kCGEventKeyUp);
  for (const auto& each : seen) {
    EXPECT_EQ(each.keyCode, kF20);
    EXPECT_EQ(each.flags, kFlags);
  }
}

TEST_F(CoreGraphicsInputEventsContract, aTextIsTypedFromASourceAndWithoutOne) {
  const auto source = events_.makeEventSource();
  ASSERT_TRUE(source);
  EXPECT_TRUE(events_.postKey({0, KeyDirection::down, 0, u"é👍", source.get()}));
  EXPECT_TRUE(events_.postKey({0, KeyDirection::down, 0, u"中"}));
  const auto seen = tap_.events(2);
  EXPECT_EQ(seen[0].text, u"é👍");
  EXPECT_EQ(seen[1].text, u"中");
}

TEST_F(CoreGraphicsInputEventsContract, aClickCarriesItsCount) {
  const auto here = events_.pointerLocation();
  EXPECT_TRUE(events_.postMouse({MouseEventType::rightDown, here, 1, 2}));
  EXPECT_TRUE(events_.postMouse({MouseEventType::rightUp, here, 1, 2}));
  const auto seen = tap_.events(2);
  EXPECT_EQ(seen[0].type, kCGEventRightMouseDown);
  EXPECT_EQ(seen[1].type, kCGEventRightMouseUp);
  for (const auto& each : seen) EXPECT_EQ(each.clickState, 2);
}

TEST_F(CoreGraphicsInputEventsContract, aScrollIsInPixelsOnBothAxes) {
  EXPECT_TRUE(events_.postScroll({3, -2}));
  const auto seen = tap_.events(1);
  EXPECT_EQ(seen[0].type, kCGEventScrollWheel);
  EXPECT_EQ(seen[0].vertical, 3);
  EXPECT_EQ(seen[0].horizontal, -2);
}

}  // namespace
}  // namespace tevanto::test
