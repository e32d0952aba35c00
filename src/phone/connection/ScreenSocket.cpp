#include "phone/connection/ScreenSocket.h"

#include <vector>

#include "screen/wire/BigEndian.h"

namespace tevanto::phone {

Answer<std::unique_ptr<ScreenSocket>> ScreenSocket::connect(const Endpoint& endpoint,
                                                            std::chrono::milliseconds timeout) {
  std::string reason = "no address";
  for (const auto& host : endpoint.hosts) {
    auto socket = TcpSocket::connect(host, endpoint.port, std::chrono::steady_clock::now() + timeout);
    if (socket) return std::unique_ptr<ScreenSocket>(new ScreenSocket(std::move(socket).value(), timeout));
    reason = socket.error();
  }
  return Trouble{ExitCode::notFound, "No companion mirrors its screen at " + endpoint.text() + " (" + reason +
                                         "). Is it running? --screen-host HOST:PORT names another place."};
}

bool ScreenSocket::send(std::span<const std::byte> message) {
  const auto length = bigEndian(static_cast<std::uint32_t>(message.size()));
  std::vector<std::byte> frame(length.begin(), length.end());
  frame.insert(frame.end(), message.begin(), message.end());
  return socket_.send(frame, std::chrono::steady_clock::now() + timeout_);
}

ScreenSocket::Received ScreenSocket::receive(const MessageHandler& onMessage) {
  std::vector<std::byte> space(64 * 1024);
  for (std::size_t total = 0; total < kReceivedAtOnce;) {
    std::size_t count = 0;
    const auto received = socket_.receive(space, count, std::chrono::steady_clock::now());
    if (received == TcpSocket::Received::nothingYet) return Received::open;
    if (received == TcpSocket::Received::closed) return Received::closed;
    total += count;
    receivedBytes_ += count;
    const auto outcome = frames_.feed(std::span(space).first(count), [&](std::span<const std::byte> message) {
      onMessage(message);
      return true;
    });
    if (outcome == FrameExtractor::Outcome::oversized) return Received::closed;
  }
  return Received::open;
}

}  // namespace tevanto::phone
