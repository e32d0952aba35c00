#include "platform/macos/screen/CoreGraphicsScreenPermission.h"

#import <CoreGraphics/CoreGraphics.h>

#include "platform/macos/foundation/SettingsPage.h"

namespace tevanto {

bool CoreGraphicsScreenPermission::isGranted() { return CGPreflightScreenCaptureAccess(); }

void CoreGraphicsScreenPermission::request() {
  if (!CGRequestScreenCaptureAccess()) openSettingsPage(kScreenRecordingSettingsUrl);
}

}  // namespace tevanto
