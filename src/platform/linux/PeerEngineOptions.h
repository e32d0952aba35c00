#pragma once

#include "core/Log.h"

namespace tevanto {

/// How the engine behind the peer connections is started.
struct PeerEngineOptions {
  /// Also offers the addresses of the loopback interface: for peers on one computer.
  bool includeLoopback = false;
  /// Passes on what the engine says of itself, at its own levels; otherwise it says nothing.
  bool verbose = false;
  Logger log;
};

}  // namespace tevanto
