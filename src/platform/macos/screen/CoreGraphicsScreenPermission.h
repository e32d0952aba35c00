#pragma once

#include "screen/capture/ScreenCapturePermission.h"

namespace tevanto {

/// What the user allows under "Screen Recording" in the privacy settings. A grant holds from the program's
/// next start on.
class CoreGraphicsScreenPermission final : public ScreenCapturePermission {
 public:
  bool isGranted() override;
  /// Lets the system ask the user, which it does once in the program's life, and otherwise shows the page on
  /// which the user can grant it. Main queue.
  void request() override;
};

}  // namespace tevanto
