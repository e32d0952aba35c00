#pragma once

#include <chrono>
#include <cstddef>
#include <deque>
#include <mutex>
#include <optional>
#include <vector>

#include "core/Descriptor.h"

namespace tevanto::phone {

/// Inbox passes messages from one thread to another one that waits for them. It holds at most `kMaxBytes`; a
/// message that comes while it is full is lost.
class Inbox {
 public:
  using Message = std::vector<std::byte>;
  using Deadline = std::chrono::steady_clock::time_point;
  static constexpr std::size_t kMaxBytes = 64 * 1024 * 1024;

  Inbox();

  void put(Message message);
  /// Nothing more will come. Messages that are there can still be taken.
  void close();
  std::optional<Message> take();
  /// True when it is closed and empty.
  bool isOver() const;
  /// Waits until there is something to take, it is closed, or the deadline has come.
  void wait(Deadline deadline) const;
  /// For poll(2): readable while there is something to take, and when it is closed.
  int descriptor() const { return signal_.get(); }

 private:
  Descriptor signal_;
  mutable std::mutex mutex_;  // guards all below
  std::deque<Message> messages_;
  std::size_t bytes_ = 0;
  bool isClosed_ = false;
};

}  // namespace tevanto::phone
