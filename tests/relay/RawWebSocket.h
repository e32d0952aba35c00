#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "tests/support/peers/RawSocket.h"

namespace tevanto::relay::test {

/// The client's end of a WebSocket (RFC 6455), frame by frame, so that a test can send what no library would.
/// Calls block, with a generous deadline.
class RawWebSocket {
 public:
  enum Opcode : unsigned char {
    kContinuation = 0,
    kText = 1,
    kBinary = 2,
    kClose = 8,
    kPing = 9,
    kPong = 10
  };
  struct Frame {
    Opcode opcode;
    std::string payload;
    /// Of a close frame; 1005 when it has none.
    int closeCode() const {
      if (opcode != kClose) return 0;
      if (payload.size() < 2) return 1005;
      return static_cast<unsigned char>(payload[0]) * 256 + static_cast<unsigned char>(payload[1]);
    }
    std::string closeText() const { return payload.size() < 2 ? "" : payload.substr(2); }
  };
  /// What carries the bytes: a socket, or TLS over one. `receive` gives at least one byte, or none at the
  /// end.
  struct Carrier {
    std::function<bool(std::string_view)> send;
    std::function<std::string()> receive;
  };

  RawWebSocket(std::uint16_t port, const std::string& target, const std::string& headers = "")
      : socket_(std::make_shared<tevanto::test::RawSocket>(tevanto::test::RawSocket::connectTo(port))) {
    carrier_.send = [socket = socket_](std::string_view bytes) { return socket->send(bytes); };
    carrier_.receive = [socket = socket_] { return socket->receiveSome(); };
    upgrade(target, headers);
  }
  RawWebSocket(Carrier carrier, const std::string& target) : carrier_(std::move(carrier)) {
    upgrade(target, "");
  }

  bool isOpen() const { return head_.starts_with("HTTP/1.1 101 "); }
  const std::string& head() const { return head_; }
  tevanto::test::RawSocket& socket() { return *socket_; }

  bool sendText(std::string_view payload) { return sendFrame(kText, payload); }
  bool sendFrame(Opcode opcode, std::string_view payload, bool isLast = true) {
    return carrier_.send(frame(opcode, payload, isLast));
  }
  bool sendRaw(std::string_view bytes) { return carrier_.send(bytes); }

  /// A frame as a client sends it. The mask is there but changes nothing: all zeros.
  static std::string frame(Opcode opcode, std::string_view payload, bool isLast = true) {
    std::string bytes(1, static_cast<char>((isLast ? 0x80 : 0) | opcode));
    const auto size = payload.size();
    const int lengthBytes = size < 126 ? 0 : size < 65536 ? 2 : 8;
    bytes += static_cast<char>(0x80 | (lengthBytes == 0   ? static_cast<int>(size)
                                       : lengthBytes == 2 ? 126
                                                          : 127));
    for (int i = lengthBytes - 1; i >= 0; --i) bytes += static_cast<char>(size >> (8 * i) & 0xFF);
    bytes.append(4, '\0');
    return bytes.append(payload);
  }

  /// The next frame; nothing at the end of the stream.
  std::optional<Frame> receive() {
    if (!fill(2)) return std::nullopt;
    const auto opcode = static_cast<Opcode>(byte(0) & 0x0F);
    std::size_t size = byte(1) & 0x7F;
    std::size_t head = 2;
    if (size >= 126) {
      head += size == 126 ? 2 : 8;
      if (!fill(head)) return std::nullopt;
      size = 0;
      for (std::size_t i = 2; i < head; ++i) size = size * 256 + byte(i);
    }
    if (!fill(head + size)) return std::nullopt;
    Frame found{opcode, buffer_.substr(head, size)};
    buffer_.erase(0, head + size);
    return found;
  }
  /// The next text or binary message; pings are answered on the way. Nothing when the relay closes.
  std::optional<std::string> receiveMessage() {
    while (auto frame = receive()) {
      if (frame->opcode == kText || frame->opcode == kBinary) return frame->payload;
      if (frame->opcode == kClose) return std::nullopt;
      if (frame->opcode == kPing) sendFrame(kPong, frame->payload);
    }
    return std::nullopt;
  }
  /// The close frame, whatever comes before it; nothing when the stream ends without one.
  std::optional<Frame> receiveClose() {
    while (auto frame = receive()) {
      if (frame->opcode == kClose) return frame;
    }
    return std::nullopt;
  }

 private:
  void upgrade(const std::string& target, const std::string& headers) {
    carrier_.send("GET " + target +
                  " HTTP/1.1\r\nHost: relay\r\nConnection: Upgrade\r\nUpgrade: websocket\r\n"
                  "Sec-WebSocket-Version: 13\r\nSec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n" +
                  headers + "\r\n");
    while (buffer_.find("\r\n\r\n") == std::string::npos) {
      const auto more = carrier_.receive();
      if (more.empty()) break;
      buffer_ += more;
    }
    const auto end = buffer_.find("\r\n\r\n");
    if (end == std::string::npos) return;
    head_ = buffer_.substr(0, end + 4);
    buffer_.erase(0, end + 4);
  }

  bool fill(std::size_t size) {
    while (buffer_.size() < size) {
      const auto more = carrier_.receive();
      if (more.empty()) return false;
      buffer_ += more;
    }
    return true;
  }
  unsigned byte(std::size_t index) const { return static_cast<unsigned char>(buffer_[index]); }

  std::shared_ptr<tevanto::test::RawSocket> socket_;
  Carrier carrier_;
  std::string head_;
  std::string buffer_;
};

}  // namespace tevanto::relay::test
