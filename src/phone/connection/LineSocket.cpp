#include "phone/connection/LineSocket.h"

#include <array>
#include <span>
#include <utility>

namespace tevanto::phone {
namespace {

constexpr std::size_t kMaxBuffered = 64 * 1024 * 1024;  // no reply comes near; a stream without lines does

}  // namespace

Result<std::unique_ptr<LineSocket>> LineSocket::connect(const std::string& host, std::uint16_t port,
                                                        Deadline deadline) {
  auto socket = TcpSocket::connect(host, port, deadline);
  if (!socket) return Failure{socket.error()};
  return std::unique_ptr<LineSocket>(new LineSocket(std::move(socket).value()));
}

bool LineSocket::send(std::string_view bytes, Deadline deadline) {
  return socket_.send(std::as_bytes(std::span(bytes)), deadline);
}

LineSocket::Received LineSocket::receive(std::string& line, Deadline deadline) {
  std::array<char, 65536> bytes;
  while (true) {
    if (takeLine(line)) return Received::line;
    if (buffer_.size() > kMaxBuffered) return Received::closed;
    std::size_t count = 0;
    switch (socket_.receive(std::as_writable_bytes(std::span(bytes)), count, deadline)) {
      case TcpSocket::Received::bytes:
        buffer_.append(bytes.data(), count);
        break;
      case TcpSocket::Received::nothingYet:
        return Received::nothingYet;
      case TcpSocket::Received::closed:
        return Received::closed;
    }
  }
}

bool LineSocket::takeLine(std::string& line) {
  const auto end = buffer_.find('\n', scanned_);
  if (end != std::string::npos) {
    line.assign(buffer_, taken_, end - taken_);
    taken_ = scanned_ = end + 1;
    return true;
  }
  buffer_.erase(0, taken_);
  taken_ = 0;
  scanned_ = buffer_.size();
  return false;
}

}  // namespace tevanto::phone
