#include "bench/BareLoop.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <xcb/xcb.h>
#include <xcb/xtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>
#include <utility>

namespace tevanto::bench {
namespace {

[[noreturn]] void fail(const char* what) {
  std::perror(what);
  std::_Exit(1);
}

double numberAfter(std::string_view line, std::string_view key) {
  const auto at = line.find(key);
  return at == std::string_view::npos ? 0 : std::strtod(line.data() + at + key.size(), nullptr);
}

void serve(int client, xcb_connection_t* x, BareLoop::Answers answers) {
  constexpr std::string_view kAnswer = "{\"type\":\"ack\",\"ok\":true}\n";
  char block[4096];
  std::string pending;
  std::string replies;
  while (true) {
    const ssize_t count = ::recv(client, block, sizeof block, 0);
    if (count <= 0) return;
    pending.append(block, static_cast<std::size_t>(count));
    std::size_t start = 0;
    replies.clear();
    for (std::size_t end; (end = pending.find('\n', start)) != std::string::npos; start = end + 1) {
      const auto line = std::string_view(pending).substr(start, end - start);
      const auto dx = static_cast<std::int16_t>(numberAfter(line, "\"dx\":"));
      const auto dy = static_cast<std::int16_t>(numberAfter(line, "\"dy\":"));
      xcb_test_fake_input(x, XCB_MOTION_NOTIFY, 1, XCB_CURRENT_TIME, XCB_NONE, dx, dy, 0);
      xcb_flush(x);
      if (answers == BareLoop::Answers::fixedLine) replies += kAnswer;
    }
    pending.erase(0, start);
    if (!replies.empty() && ::send(client, replies.data(), replies.size(), MSG_NOSIGNAL) < 0) return;
  }
}

}  // namespace

BareLoop BareLoop::start(const std::string& display, Answers answers) {
  const int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  if (::bind(listener, reinterpret_cast<sockaddr*>(&address), size) != 0 || ::listen(listener, 4) != 0 ||
      ::getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
    fail("bare loop: listen");
  }
  const int pid = ::fork();
  if (pid < 0) fail("bare loop: fork");
  if (pid == 0) {
    ::prctl(PR_SET_PDEATHSIG, SIGTERM);
    auto* x = xcb_connect(display.c_str(), nullptr);
    if (xcb_connection_has_error(x)) fail("bare loop: X display");
    while (true) {
      const int client = ::accept(listener, nullptr, nullptr);
      if (client < 0) fail("bare loop: accept");
      const int on = 1;
      ::setsockopt(client, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
      serve(client, x, answers);
      ::close(client);
    }
  }
  ::close(listener);
  return BareLoop(ntohs(address.sin_port), pid);
}

BareLoop::BareLoop(BareLoop&& other) noexcept : port_(other.port_), pid_(std::exchange(other.pid_, -1)) {}

BareLoop::~BareLoop() {
  if (pid_ <= 0) return;
  ::kill(pid_, SIGTERM);
  ::waitpid(pid_, nullptr, 0);
}

}  // namespace tevanto::bench
