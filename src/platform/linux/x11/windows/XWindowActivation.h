#pragma once

#include <cstdint>
#include <string>

namespace tevanto {

/// Brings windows of this process forward by the X desktop's protocol: the window manager lets a window have
/// the focus when it learns of an action of the user that is younger than the focus (Extended Window Manager
/// Hints), and of the program's start that is thereby over (Startup Notification). Talks to the X server of
/// DISPLAY for the moment of the call.
class XWindowActivation {
 public:
  /// `startupIdentifier` was given to whoever asked for the window; empty when it is not known.
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
