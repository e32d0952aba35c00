#pragma once

namespace tevanto {

class Face;

/// The module that holds the windows and the tray icon, and the function in it that makes them, which the
/// caller owns. Null where Qt finds no way onto the display.
inline constexpr auto* kFaceModule = "face";
inline constexpr auto* kMakeFace = "tevantoMakeFace";
using MakeFace = Face* (*)();

}  // namespace tevanto
