#pragma once

#include <cstdint>
#include <string>

namespace tevanto {

/// XWindowActivation brings windows of this process forward by the protocols of X desktops. A window manager
/// gives a window the focus when the user's action is younger than the focus (Extended Window Manager Hints).
/// It is also told that the program's start is over (Startup Notification). Each call connects to the X
/// server of DISPLAY and disconnects again.
class XWindowActivation {
 public:
  /// `startupIdentifier` was given to the program that asked for the window; empty when it is not known.
  explicit XWindowActivation(std::string startupIdentifier) : identifier_(std::move(startupIdentifier)) {}

  /// For a window that is about to be shown: the window manager looks at this when it appears.
  void prepare(std::uint32_t window) const;
  /// For a window that is on the screen already, or hidden under others.
  void activate(std::uint32_t window) const;

  /// The moment of the user's action in a startup notification identifier ("..._TIME<milliseconds>"), in the
  /// X server's time; 0 where it does not tell.
  static std::uint32_t timeOf(const std::string& startupIdentifier);

 private:
  const std::string identifier_;
};

}  // namespace tevanto
