#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

#include "core/Log.h"
#include "core/queue/SerialQueue.h"

namespace tevanto {

class XInputConnection;

/// ReconnectingXServer keeps one input connection to an X server that may be missing, go away and come back.
/// It connects when it is asked for the connection, at most once a second. Any thread.
class ReconnectingXServer {
 public:
  /// An empty `displayName` means what DISPLAY says when the connection is made. `clock` only tells the time.
  ReconnectingXServer(std::string displayName, std::shared_ptr<SerialQueue> clock, Logger log);
  ~ReconnectingXServer();

  /// The connection, when a server is there; made now if the last attempt is long enough ago.
  std::shared_ptr<XInputConnection> connection();
  /// Counts connections; a number that changed means that `connection` gives another one.
  std::uint64_t generation() const { return generation_.load(std::memory_order_acquire); }
  /// Makes the next call of `connection` try at once.
  void retryNow();

  static constexpr auto kRetryAfter = std::chrono::seconds(1);
  /// For how long a server that was found alive counts as alive: asking costs a system call, and every
  /// command asks.
  static constexpr auto kTrustFor = std::chrono::milliseconds(5);

 private:
  bool stillAlive();
  bool beginAttempt();
  std::shared_ptr<XInputConnection> attempt();

  const std::string displayName_;
  const std::shared_ptr<SerialQueue> clock_;
  const Logger log_;
  std::atomic<std::uint64_t> generation_{0};
  std::mutex mutex_;
  std::shared_ptr<XInputConnection> connection_;
  bool connecting_ = false;
  bool reported_ = false;
  SerialQueue::TimePoint aliveUntil_ = SerialQueue::TimePoint::min();
  SerialQueue::TimePoint nextAttempt_ = SerialQueue::TimePoint::min();
};

}  // namespace tevanto
