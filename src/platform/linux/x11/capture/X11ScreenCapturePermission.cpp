#include "platform/linux/x11/capture/X11ScreenCapturePermission.h"

#include <utility>

#include "platform/linux/x11/capture/XCaptureConnection.h"
#include "platform/linux/x11/capture/XScreenImage.h"

namespace tevanto {

X11ScreenCapturePermission::X11ScreenCapturePermission(std::string displayName)
    : displayName_(std::move(displayName)) {}

bool X11ScreenCapturePermission::isGranted() {
  const auto screen = XCaptureConnection::connect(displayName_);
  if (!screen) return false;
  const auto monitors = screen.value()->monitors();
  if (monitors.empty()) return false;
  auto topRow = monitors.front().area;
  topRow.height = 1;
  XScreenImage image(screen.value(), topRow);
  ChangedArea all;
  all.add({0, 0, topRow.width, 1});
  return image.read(all);
}

}  // namespace tevanto
