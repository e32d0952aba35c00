#pragma once

namespace tevanto {

/// AppKit's screens have their origin at the bottom left of the main display and y growing upwards;
/// everything else here has it at the top left and y growing downwards. The upper edge of a rectangle, in
/// that.
constexpr double topLeftY(double bottomLeftY, double height, double mainDisplayHeight) {
  return mainDisplayHeight - bottomLeftY - height;
}

}  // namespace tevanto
