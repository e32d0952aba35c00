#pragma once

#include <string>

namespace tevanto {

class DesktopUi;

/// The module that holds the windows and the tray icon, and the function in it that makes them, which the
/// caller owns. Null where Qt finds no way onto the display.
inline constexpr auto* kDesktopUiModule = "ui";
inline constexpr auto* kMakeDesktopUi = "tevantoMakeDesktopUi";
using MakeDesktopUi = DesktopUi* (*)();
/// What fonts it finds, for a person; empty when there are none.
inline constexpr auto* kDescribeFonts = "tevantoDescribeFonts";
using DescribeFonts = std::string* (*)();

}  // namespace tevanto
