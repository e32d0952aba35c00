#pragma once

#include <algorithm>
#include <cstddef>
#include <deque>
#include <mutex>
#include <string>

namespace tevanto {

/// UsedSessionIds holds the session IDs that already led to a connection, of all clients of one program.
/// Their cloud records outlive the peer; without this list a poller would answer a phone that is gone, while
/// the one that has come back waits. Thread-safe.
class UsedSessionIds {
 public:
  /// More sessions than can connect within the life of a record.
  static constexpr std::size_t kMost = 64;

  void add(const std::string& session) {
    const std::lock_guard lock(mutex_);
    if (holds(session)) return;
    sessions_.push_back(session);
    if (sessions_.size() > kMost) sessions_.pop_front();
  }
  bool contains(const std::string& session) const {
    const std::lock_guard lock(mutex_);
    return holds(session);
  }

 private:
  bool holds(const std::string& session) const {
    return std::find(sessions_.begin(), sessions_.end(), session) != sessions_.end();
  }

  mutable std::mutex mutex_;
  std::deque<std::string> sessions_;
};

}  // namespace tevanto
