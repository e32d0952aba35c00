#pragma once

#include <cstddef>
#include <deque>
#include <span>
#include <utility>
#include <vector>

#include "core/queue/Task.h"
#include "net/tcp/TcpConnection.h"

namespace tevanto {

/// SendBuffer keeps the bytes that wait for the kernel, in the order in which they were given. Small pieces
/// share one block, whose memory is used again. A shared piece is not copied; its task becomes due once the
/// kernel has taken it.
class SendBuffer {
 public:
  void append(std::span<const std::byte> bytes);
  void append(SharedBytes bytes, Task processed);

  std::size_t size() const { return size_; }
  bool empty() const { return size_ == 0; }

  /// Fills `pieces` with the beginning of what waits and says how many it filled.
  std::size_t front(std::span<std::span<const std::byte>> pieces) const;
  /// The kernel has taken the first `count` bytes.
  void consume(std::size_t count);
  /// Drops everything; what was to be done about it becomes due.
  void clear();
  /// The work that has become due since the last call.
  std::vector<Task> takeProcessed() { return std::exchange(processed_, {}); }
  bool hasProcessed() const { return !processed_.empty(); }

 private:
  struct Block {
    std::vector<std::byte> own;
    std::size_t written = 0;
    SharedBytes shared;  // in place of its own
    Task processed;

    const std::vector<std::byte>& bytes() const { return shared ? *shared : own; }
  };

  void finishFront();
  void compactFront();

  std::deque<Block> blocks_;
  std::vector<std::byte> spare_;
  std::vector<Task> processed_;
  std::size_t size_ = 0;
};

}  // namespace tevanto
