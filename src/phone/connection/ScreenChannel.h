#pragma once

#include <cstddef>
#include <functional>
#include <span>

namespace tevanto::phone {

/// The phone's end of the screen's road: whole messages in both directions.
class ScreenChannel {
 public:
  enum class Received { open, closed };
  using MessageHandler = std::function<void(std::span<const std::byte> message)>;

  virtual ~ScreenChannel() = default;
  /// False when the peer is gone or does not take the message in time.
  virtual bool send(std::span<const std::byte> message) = 0;
  /// Takes what has arrived, or a good piece of it, without waiting. `closed` also after a message that is
  /// larger than any can be.
  virtual Received receive(const MessageHandler& onMessage) = 0;
  /// For poll(2).
  virtual int descriptor() const = 0;
  virtual std::size_t receivedBytes() const = 0;
};

}  // namespace tevanto::phone
