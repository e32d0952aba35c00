#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <span>
#include <string>
#include <string_view>

namespace tevanto::phone {

/// Channel is the phone's end of one connection with a companion, for a caller that waits on its own thread.
class Channel {
 public:
  virtual ~Channel() = default;
  /// For poll(2) together with other descriptors.
  virtual int descriptor() const = 0;
};

/// LineChannel carries lines, each ended by a line feed. Every wait has a deadline. Lines that were received
/// together are announced once: call `receive` until it has nothing more.
class LineChannel : public Channel {
 public:
  using Deadline = std::chrono::steady_clock::time_point;
  enum class Received { line, nothingYet, closed };

  /// False when the peer is gone or does not take the bytes in time.
  virtual bool send(std::string_view bytes, Deadline deadline) = 0;
  /// Waits for the next line and puts it, without its line feed, into `line`. `nothingYet` at the deadline.
  virtual Received receive(std::string& line, Deadline deadline) = 0;
};

/// ScreenChannel carries the messages of the screen stream, whole, in both directions.
class ScreenChannel : public Channel {
 public:
  enum class Received { open, closed };
  using MessageHandler = std::function<void(std::span<const std::byte> message)>;
  /// The bytes after which one `receive` returns, so that the window and the signals are served in between.
  static constexpr std::size_t kReceivedAtOnce = 256 * 1024;

  /// False when the peer is gone or does not take the message in time.
  virtual bool send(std::span<const std::byte> message) = 0;
  /// Takes the messages that have arrived, up to `kReceivedAtOnce`, without waiting. `closed` also after a
  /// message that is larger than any can be.
  virtual Received receive(const MessageHandler& onMessage) = 0;
  virtual std::size_t receivedBytes() const = 0;
};

}  // namespace tevanto::phone
