#pragma once

#include <memory>

#include "core/Log.h"
#include "core/queue/SerialQueue.h"

namespace tevanto {

/// How the engine behind the peer connections is started.
struct PeerEngineOptions {
  /// Also offers the addresses of the loopback interface: for peers on one computer.
  bool includeLoopback = false;
  /// Passes on what the engine says of itself, at its own levels; otherwise it says nothing.
  bool verbose = false;
  Logger log;
  /// Where the engine signals, and calls back: a queue for this alone, of a loop with one thread that has no
  /// other engine and runs until this one is gone. The first peer is made on this loop, or while nobody there
  /// makes one. Messages come and go fastest where it is the loop of those who send and get them. Null: on a
  /// thread of its own.
  std::shared_ptr<SerialQueue> signalingQueue;
};

}  // namespace tevanto
