#include "tests/support/peers/ScriptedScreen.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <stdexcept>
#include <string_view>

#include "screen/wire/FrameExtractor.h"
#include "screen/wire/ScreenStreamHello.h"
#include "tests/support/peers/Sockets.h"

namespace tevanto::test {
namespace {

constexpr auto kTimeout = std::chrono::seconds(30);

bool sendWhole(int socket, std::string_view bytes) {
  while (!bytes.empty()) {
    const auto count = ::send(socket, bytes.data(), bytes.size(), kNoSignal);
    if (count <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
  return true;
}

}  // namespace

ScriptedScreen::ScriptedScreen() {
  listener_ = openSocket(AF_INET);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  auto* generic = reinterpret_cast<sockaddr*>(&address);
  if (listener_ < 0 || ::bind(listener_, generic, size) != 0 || ::listen(listener_, 8) != 0 ||
      ::getsockname(listener_, generic, &size) != 0) {
    throw std::runtime_error("no loopback listener");
  }
  port_ = ntohs(address.sin_port);
  answer = [](ScreenMessageType) { return std::vector<Bytes>(); };
  thread_ = std::thread([this] { serve(); });
}

ScriptedScreen::~ScriptedScreen() {
  {
    const std::lock_guard lock(mutex_);
    isEnding_ = true;
    if (phone_ >= 0) ::shutdown(phone_, SHUT_RDWR);
  }
  ::shutdown(listener_, SHUT_RDWR);
  thread_.join();
  ::close(listener_);
}

std::vector<Bytes> ScriptedScreen::received() {
  const std::lock_guard lock(mutex_);
  return received_;
}

int ScriptedScreen::count(ScreenMessageType type) {
  const auto messages = received();
  return static_cast<int>(std::count_if(messages.begin(), messages.end(), [&](const auto& message) {
    return screenMessageType(message) == type;
  }));
}

bool ScriptedScreen::waitFor(ScreenMessageType type, int wanted) {
  std::unique_lock lock(mutex_);
  return changed_.wait_for(lock, kTimeout, [&] {
    return std::count_if(received_.begin(), received_.end(),
                         [&](const auto& message) { return screenMessageType(message) == type; }) >= wanted;
  });
}

bool ScriptedScreen::waitForEnd() {
  std::unique_lock lock(mutex_);
  return changed_.wait_for(lock, kTimeout, [&] { return ended_ > 0; });
}

void ScriptedScreen::serve() {
  while (true) {
    const int phone = ::accept(listener_, nullptr, nullptr);
    if (phone < 0) return;
    {
      const std::lock_guard lock(mutex_);
      if (isEnding_) {
        ::close(phone);
        return;
      }
      phone_ = phone;
    }
    converse(phone);
    {
      const std::lock_guard lock(mutex_);
      phone_ = -1;
      ++ended_;
      ::close(phone);
    }
    changed_.notify_all();
  }
}

void ScriptedScreen::converse(int phone) {
  FrameExtractor frames;
  std::array<std::byte, 65536> bytes;
  bool isOpen = true;
  while (isOpen) {
    const auto count = ::recv(phone, bytes.data(), bytes.size(), 0);
    if (count <= 0) return;
    frames.feed(std::span(bytes).first(static_cast<std::size_t>(count)),
                [&](std::span<const std::byte> message) {
                  for (const auto& reply : replies(copyOf(message))) {
                    isOpen = isOpen && !reply.empty() && sendWhole(phone, frameText(reply));
                  }
                  return isOpen;
                });
  }
}

std::vector<Bytes> ScriptedScreen::replies(const Bytes& message) {
  {
    const std::lock_guard lock(mutex_);
    received_.push_back(message);
  }
  changed_.notify_all();
  const auto type = screenMessageType(message);
  if (!type) return {};
  if (type == ScreenMessageType::hello) {
    const auto hello = decodeHello(std::span(message).subspan(1));
    if (!hello || hello->token != token) return {Bytes()};
  }
  return answer(*type);
}

}  // namespace tevanto::test
