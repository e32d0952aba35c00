#pragma once

#include <algorithm>
#include <cstddef>
#include <deque>
#include <mutex>
#include <string>

namespace tevanto {

/// The negotiations that have led to a connection, of all clients of one program. Their records lie in the
/// cloud for a while yet; whoever looks for a phone that comes back would meet the one that is gone, and wait
/// for it while the new one waits. Any thread.
class UsedSessionIds {
 public:
  /// More than can come about while a record is young.
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
