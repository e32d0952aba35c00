#pragma once

#include <chrono>
#include <string>
#include <string_view>

namespace tevanto::phone {

/// A connection of lines, each ended by a line feed, for a caller that waits. Every wait has a deadline.
class LineChannel {
 public:
  using Deadline = std::chrono::steady_clock::time_point;
  enum class Received { line, nothingYet, closed };

  virtual ~LineChannel() = default;
  /// False when the peer is gone or does not take the bytes in time.
  virtual bool send(std::string_view bytes, Deadline deadline) = 0;
  /// Waits for the next line and puts it, without its line feed, into `line`. `nothingYet` at the deadline.
  virtual Received receive(std::string& line, Deadline deadline) = 0;
  /// For poll(2) together with other descriptors. Lines that were received together are not announced again:
  /// call `receive` until it has nothing more.
  virtual int descriptor() const = 0;
};

}  // namespace tevanto::phone
