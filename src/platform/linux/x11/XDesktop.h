#pragma once

#include <optional>

namespace tevanto {

/// XDesktop holds the facts that the X server of DISPLAY knows about its desktop.
struct XDesktop {
  bool hasXembedTray = false;           // freedesktop.org System Tray Protocol
  bool isComposited = false;            // windows may be transparent (Extended Window Manager Hints)
  std::optional<double> dotsPerInch{};  // the resource Xft.dpi, which toolkits scale by; 96 is 100 %

  /// Nothing when no X server answers.
  static std::optional<XDesktop> current();
};

}  // namespace tevanto
