#pragma once

#include <string>

namespace tevanto {

class DesktopUi;

/// The module that holds the windows and the tray icon, and its function that makes them. The caller owns the
/// result, which is null where Qt cannot use the display.
inline constexpr auto* kDesktopUiModule = "ui";
inline constexpr auto* kMakeDesktopUi = "tevantoMakeDesktopUi";
using MakeDesktopUi = DesktopUi* (*)();
/// Describes the installed fonts, for a person; empty when there are none.
inline constexpr auto* kDescribeFonts = "tevantoDescribeFonts";
using DescribeFonts = std::string* (*)();

}  // namespace tevanto
