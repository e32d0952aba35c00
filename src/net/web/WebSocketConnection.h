#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "core/queue/SerialQueue.h"

namespace tevanto {

/// WebSocketConnection is the client's end of one WebSocket (RFC 6455). After `onEnd`, after `cancel` and
/// after its destruction nothing is called back.
/// Lives on the queue given to `start`: every call after that and every callback happens there. Each callback
/// has a turn of its own, never inside a call.
class WebSocketConnection {
 public:
  /// End is the reason why the connection ended by itself: the server's close frame, or a fault.
  struct End {
    std::optional<std::uint16_t> closeCode;
    std::string error;
  };
  /// Handlers holds the callbacks of a connection.
  struct Handlers {
    std::function<void()> onOpen;
    /// One whole message, text or binary alike.
    std::function<void(std::string_view message)> onMessage;
    std::function<void(const End& end)> onEnd;
  };
  /// PongHandler receives the error's description, or nothing when the pong came. A pong that does not come
  /// in time is an error too: a dead line keeps silent.
  using PongHandler = std::function<void(std::optional<std::string> error)>;
  /// SentHandler receives the error's description, or nothing when the frame was sent.
  using SentHandler = std::function<void(std::optional<std::string> error)>;

  virtual ~WebSocketConnection() = default;
  virtual void start(std::shared_ptr<SerialQueue> queue, Handlers handlers) = 0;
  /// Sends one text frame behind those still unsent. Before `onOpen` nothing is sent, and `sent` hears an
  /// error.
  virtual void sendText(std::string text, SentHandler sent) = 0;
  virtual void ping(PongHandler pong) = 0;
  /// Sends what is queued, then a close frame with the code, and ends without a callback; bounded to 2
  /// seconds.
  virtual void cancel(std::uint16_t closeCode) = 0;

  static constexpr std::uint16_t kGoingAway = 1001;
  static constexpr std::size_t kMaxMessageBytes = 1024 * 1024;
};

/// WebSocketFactory makes connections.
class WebSocketFactory {
 public:
  virtual ~WebSocketFactory() = default;
  /// `url` is "wss://" (certificate and host name verified) or "ws://". Nothing happens before `start`; a URL
  /// that cannot be read fails there.
  virtual std::shared_ptr<WebSocketConnection> create(const std::string& url) = 0;
};

}  // namespace tevanto
