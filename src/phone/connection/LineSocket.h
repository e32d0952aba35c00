#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "core/Result.h"
#include "phone/connection/Channel.h"
#include "phone/connection/TcpSocket.h"

namespace tevanto::phone {

/// LineSocket is a line channel over TCP.
class LineSocket final : public LineChannel {
 public:
  /// Resolves `host` and tries its addresses in turn.
  static Result<std::unique_ptr<LineSocket>> connect(const std::string& host, std::uint16_t port,
                                                     Deadline deadline);

  bool send(std::string_view bytes, Deadline deadline) override;
  Received receive(std::string& line, Deadline deadline) override;
  int descriptor() const override { return socket_.descriptor(); }

 private:
  explicit LineSocket(TcpSocket socket) : socket_(std::move(socket)) {}
  bool takeLine(std::string& line);

  TcpSocket socket_;
  std::string buffer_;
  std::size_t taken_ = 0;    // bytes of `buffer_` that were handed out
  std::size_t scanned_ = 0;  // bytes of `buffer_` that hold no further line feed
};

}  // namespace tevanto::phone
