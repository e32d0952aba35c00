#pragma once

#include <memory>

#include "core/Log.h"
#include "core/queue/SerialQueue.h"

namespace tevanto {

/// PeerEngineOptions are the settings with which the engine of the peer connections starts.
struct PeerEngineOptions {
  /// Also offers the addresses of the loopback interface: for peers on one computer.
  bool includeLoopback = false;
  /// Passes on the engine's own log, at its levels; otherwise the engine logs nothing.
  bool verbose = false;
  Logger log;
  /// The queue on which the engine signals and calls back; null for a thread of its own. Only the engine uses
  /// the queue. Its loop has one thread and no other engine, and outlives this one. The first peer is made on
  /// this loop, or while nothing there makes one. Messages are fastest on the loop of their senders and
  /// receivers.
  std::shared_ptr<SerialQueue> signalingQueue;
};

}  // namespace tevanto
