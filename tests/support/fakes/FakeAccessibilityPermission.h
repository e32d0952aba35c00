#pragma once

#include <atomic>

#include "control/AccessibilityPermission.h"

namespace tevanto::test {

/// A permission that the test grants and takes back, from any thread.
class FakeAccessibilityPermission final : public AccessibilityPermission {
 public:
  std::atomic<bool> trusted = true;
  std::atomic<int> requests = 0;

  bool isTrusted() override { return trusted; }
  void request() override { ++requests; }
};

}  // namespace tevanto::test
