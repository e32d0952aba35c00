#pragma once

#include <cstdio>
#include <cstdlib>

namespace tevanto {

/// Ends the process, in every build, when `holds` is false: for a fault of our own that would otherwise reach
/// the wire or the system. `message` says what the caller did wrong.
inline void precondition(bool holds, const char* message) {
  if (holds) return;
  std::fprintf(stderr, "tevanto: %s\n", message);
  std::abort();
}

}  // namespace tevanto
