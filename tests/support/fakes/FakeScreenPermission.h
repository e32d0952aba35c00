#pragma once

#include "screen/capture/ScreenCapturePermission.h"

namespace tevanto::test {

/// A permission to capture the screen that the test grants, and that a request grants where the user agrees.
class FakeScreenPermission final : public ScreenCapturePermission {
 public:
  bool isGranted() override { return granted; }
  void request() override {
    ++requests;
    granted = granted || userAgrees;
  }
  bool granted = true;
  bool userAgrees = false;
  int requests = 0;
};

}  // namespace tevanto::test
