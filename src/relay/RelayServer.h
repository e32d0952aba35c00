#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "core/Log.h"
#include "core/Result.h"
#include "core/queue/EventLoop.h"
#include "relay/RelayOptions.h"

namespace tevanto::relay {

/// The relay: listens, and carries messages between the two members of each room.
///
/// It uses the loop's sockets and timers themselves rather than serial queues: one thread carries all of its
/// connections, so nothing needs a strand, and ten thousand idle connections must cost little memory each.
/// Every call comes from the thread that runs the loop, or before it runs.
class RelayServer {
 public:
  /// A listening relay, or why there is none: options that contradict each other, files that cannot be read,
  /// a port that is taken. The loop must have one thread and outlive the relay.
  static Result<std::unique_ptr<RelayServer>> create(EventLoop& loop, RelayOptions options, Logger log);
  ~RelayServer();
  RelayServer(const RelayServer&) = delete;
  RelayServer& operator=(const RelayServer&) = delete;

  /// "127.0.0.1:8787", "[::1]:8787".
  std::vector<std::string> endpoints() const;
  std::uint16_t port() const;

  /// Reads the certificate files again, for the connections to come; with a failure the old ones stay.
  Result<void> reloadCertificates();
  /// Listens no more, tells every member that the relay goes away, and calls `done` when all have left, at
  /// the latest after the time for closing.
  void stop(std::function<void()> done);

 private:
  class Core;
  explicit RelayServer(std::shared_ptr<Core> core) : core_(std::move(core)) {}

  std::shared_ptr<Core> core_;
};

}  // namespace tevanto::relay
