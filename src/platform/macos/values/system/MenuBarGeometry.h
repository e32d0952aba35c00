#pragma once

namespace tevanto {

/// Returns the upper edge of a rectangle of AppKit, measured from the top of the main display. AppKit's
/// origin is at the bottom left of the main display, with y growing upwards; the rest of this program has it
/// at the top left, with y growing downwards.
constexpr double topLeftY(double bottomLeftY, double height, double mainDisplayHeight) {
  return mainDisplayHeight - bottomLeftY - height;
}

}  // namespace tevanto
