#pragma once

#include "screen/capture/ScreenCapturePermission.h"

namespace tevanto {

/// CoreGraphicsScreenPermission is the permission under "Screen Recording" in the privacy settings. A grant
/// takes effect with the program's next start.
class CoreGraphicsScreenPermission final : public ScreenCapturePermission {
 public:
  bool isGranted() override;
  /// Makes the system ask the user, which it does once in the program's life. Otherwise shows the page on
  /// which the user can grant the permission. Main queue.
  void request() override;
};

}  // namespace tevanto
