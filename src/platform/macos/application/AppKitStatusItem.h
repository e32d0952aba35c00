#pragma once

#include <functional>
#include <memory>

namespace tevanto {

/// AppKitStatusItem is the icon in the menu bar: a template image, which the system draws in the color that
/// suits the bar. The icon exists for as long as this object. Main queue only.
class AppKitStatusItem {
 public:
  /// Frame is the frame of the icon, in points; the origin is at the top left of the main display.
  struct Frame {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;
  };
  /// `onClick` gets the frame of the icon, below which the panel belongs.
  explicit AppKitStatusItem(std::function<void(Frame)> onClick);
  ~AppKitStatusItem();
  AppKitStatusItem(const AppKitStatusItem&) = delete;
  AppKitStatusItem& operator=(const AppKitStatusItem&) = delete;

  /// The image of a phone, with waves while one is connected.
  void showConnected(bool isConnected);

 private:
  struct Core;
  std::unique_ptr<Core> core_;
};

}  // namespace tevanto
