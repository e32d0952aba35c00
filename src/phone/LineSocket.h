#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include "core/Result.h"
#include "phone/TcpSocket.h"

namespace tevanto::phone {

/// A TCP connection of lines, each ended by a line feed, for a caller that waits. Every wait has a deadline.
class LineSocket {
 public:
  using Deadline = TcpSocket::Deadline;
  enum class Received { line, nothingYet, closed };

  /// Resolves `host` and tries its addresses in turn.
  static Result<LineSocket> connect(const std::string& host, std::uint16_t port, Deadline deadline);

  /// False when the peer is gone or does not take the bytes in time.
  bool send(std::string_view bytes, Deadline deadline);
  /// Waits for the next line and puts it, without its line feed, into `line`. `nothingYet` at the deadline.
  Received receive(std::string& line, Deadline deadline);
  /// For poll(2) together with other descriptors. Lines that were received together are not announced again:
  /// call `receive` until it has nothing more.
  int descriptor() const { return socket_.descriptor(); }

 private:
  explicit LineSocket(TcpSocket socket) : socket_(std::move(socket)) {}
  bool takeLine(std::string& line);

  TcpSocket socket_;
  std::string buffer_;
  std::size_t taken_ = 0;    // bytes of `buffer_` that were handed out
  std::size_t scanned_ = 0;  // bytes of `buffer_` that hold no further line feed
};

}  // namespace tevanto::phone
