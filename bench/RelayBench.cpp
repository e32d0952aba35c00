// Rooms on a relay, from one thread: opens them, lets them talk at a steady pace, holds them. Prints one line
// of JSON when all are open, one when they have talked, and keeps them, answering pings, until its input
// ends.
//
//   relay_bench --port P --rooms N [--members 1|2] [--rate MESSAGES] [--seconds S] [--tls]

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <openssl/ssl.h>
#include <poll.h>
#include <sys/epoll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

namespace tevanto::bench {
namespace {

using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

/// About what a candidate takes.
constexpr std::size_t kPayloadBytes = 240;
constexpr std::size_t kServerHeadBytes = 4;
constexpr int kOpenAtOnce = 256;

[[noreturn]] void fail(const std::string& what) {
  std::fprintf(stderr, "relay_bench: %s\n", what.c_str());
  std::exit(1);
}

struct Options {
  std::uint16_t port = 0;
  int rooms = 0;
  int members = 2;
  double rate = 0;
  double seconds = 0;
  bool tls = false;
};

/// One client's end, in TLS where that is wanted. Trusts any certificate: it is on loopback.
class Client {
 public:
  Client(int fd, bool tls) : fd_(fd) {
    if (!tls) return;
    static SSL_CTX* const context = ::SSL_CTX_new(::TLS_client_method());
    ::SSL_CTX_set_mode(context, SSL_MODE_RELEASE_BUFFERS);
    ssl_ = ::SSL_new(context);
    ::SSL_set_fd(ssl_, fd);
    ::SSL_set_connect_state(ssl_);
  }
  int fd() const { return fd_; }
  bool send(std::string_view bytes) const {
    const auto count = ssl_ ? ::SSL_write(ssl_, bytes.data(), static_cast<int>(bytes.size()))
                            : ::send(fd_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    return count == static_cast<ssize_t>(bytes.size());
  }
  /// What the socket has now, once a first byte has come; nothing at its end.
  std::string_view receive(std::array<char, 16384>& room) const {
    const auto count = ssl_ ? ::SSL_read(ssl_, room.data(), static_cast<int>(room.size()))
                            : ::recv(fd_, room.data(), room.size(), 0);
    return {room.data(), count > 0 ? static_cast<std::size_t>(count) : 0};
  }
  bool hasMore() const { return ssl_ && ::SSL_pending(ssl_) > 0; }

 private:
  int fd_;
  SSL* ssl_ = nullptr;  // until the program's end, like the descriptor
};

Client connectMember(const Options& options, int room, int member) {
  const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (fd < 0) fail("no more sockets");
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(options.port);
  // The relay listens on two addresses, because one does not have enough ports for clients.
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK + static_cast<unsigned>(member));
  if (::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) fail("cannot connect");
  const int on = 1;
  ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  const linger reset{.l_onoff = 1, .l_linger = 0};  // leaves no port behind
  ::setsockopt(fd, SOL_SOCKET, SO_LINGER, &reset, sizeof reset);
  const std::string request =
      "GET /connect?room=room-" + std::to_string(room) + "&role=" + (member == 0 ? "mac" : "phone") +
      " HTTP/1.1\r\nHost: relay\r\nConnection: Upgrade\r\nUpgrade: websocket\r\n"
      "Sec-WebSocket-Version: 13\r\nSec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n\r\n";
  const Client client(fd, options.tls);
  if (!client.send(request)) fail("cannot send a request");
  return client;
}

void awaitUpgrade(const Client& client) {
  std::string head;
  std::array<char, 16384> room;
  while (!head.ends_with("\r\n\r\n")) {
    const auto bytes = client.receive(room);
    if (bytes.empty()) fail("a request was not answered");
    head += bytes;
  }
  if (!head.starts_with("HTTP/1.1 101 ")) fail("an upgrade was refused: " + head);
}

/// A text frame of a client, its mask all zeros, that holds the time at which it was due.
std::string frameOf(Clock::time_point due) {
  std::string frame("\x81\xFE\0\0\0\0\0\0", 8);
  frame[2] = static_cast<char>(kPayloadBytes >> 8);
  frame[3] = static_cast<char>(kPayloadBytes & 0xFF);
  std::string payload(kPayloadBytes, 'x');
  std::snprintf(payload.data(), payload.size(), "%020lld",
                static_cast<long long>(due.time_since_epoch().count()));
  payload[20] = 'x';
  return frame + payload;
}

class Rooms {
 public:
  explicit Rooms(const Options& options) : options_(options), epoll_(::epoll_create1(EPOLL_CLOEXEC)) {
    const auto started = Clock::now();
    const int count = options.rooms * options.members;
    members_.reserve(static_cast<std::size_t>(count));
    for (int first = 0; first < count; first += kOpenAtOnce) {
      const int end = std::min(first + kOpenAtOnce, count);
      for (int i = first; i < end; ++i)
        members_.push_back({connectMember(options, i / options.members, i % options.members), {}});
      for (int i = first; i < end; ++i) awaitUpgrade(members_[static_cast<std::size_t>(i)].client);
    }
    for (std::size_t i = 0; i < members_.size(); ++i) {
      epoll_event event{.events = EPOLLIN, .data = {.u64 = i}};
      ::epoll_ctl(epoll_, EPOLL_CTL_ADD, members_[i].client.fd(), &event);
    }
    openSeconds = std::chrono::duration<double>(Clock::now() - started).count();
  }

  double openSeconds = 0;
  std::vector<double> latencies;
  long sent = 0;

  /// Each room's members take turns; the rooms are spread over time.
  void talk() {
    const auto started = Clock::now();
    const auto step = std::chrono::duration_cast<Clock::duration>(
        std::chrono::duration<double>(1 / (options_.rate * options_.rooms)));
    const long total = std::lround(options_.rate * options_.rooms * options_.seconds);
    latencies.reserve(static_cast<std::size_t>(total));
    while (sent < total) {
      const auto now = Clock::now();
      for (auto due = started + sent * step; sent < total && due <= now; due = started + sent * step) {
        const auto room = sent % options_.rooms;
        const auto turn = sent / options_.rooms % 2;
        send(members_[static_cast<std::size_t>(room * 2 + turn)].client, frameOf(due));
        ++sent;
      }
      receive(started + sent * step - Clock::now());
    }
    const auto timeout = Clock::now() + std::chrono::seconds(10);
    while (static_cast<long>(latencies.size()) < sent && Clock::now() < timeout)
      receive(std::chrono::milliseconds(100));
  }

  void hold() {
    pollfd waited[]{{epoll_, POLLIN, 0}, {STDIN_FILENO, POLLIN, 0}};
    while (::poll(waited, 2, -1) > 0 && waited[1].revents == 0) receive(Clock::duration::zero());
  }

 private:
  struct Member {
    Client client;
    std::string received;
  };

  static void send(const Client& client, const std::string& frame) {
    if (!client.send(frame)) fail("a member cannot send");
  }

  void receive(Clock::duration wait) {
    std::array<epoll_event, 512> events;
    const auto nanoseconds = std::max(wait, Clock::duration::zero()).count();
    const timespec time{.tv_sec = nanoseconds / 1'000'000'000, .tv_nsec = nanoseconds % 1'000'000'000};
    const int count = ::epoll_pwait2(epoll_, events.data(), static_cast<int>(events.size()), &time, nullptr);
    for (int i = 0; i < count; ++i) receiveFrom(members_[events[static_cast<std::size_t>(i)].data.u64]);
  }

  void receiveFrom(Member& member) {
    std::array<char, 16384> room;
    do {
      const auto bytes = member.client.receive(room);
      if (bytes.empty()) fail("the relay has closed a connection");
      member.received += bytes;
    } while (member.client.hasMore());
    while (takeFrame(member)) {
    }
    if (member.received.empty()) member.received = {};
  }

  bool takeFrame(Member& member) {
    auto& bytes = member.received;
    if (bytes.size() < 2) return false;
    const auto opcode = static_cast<unsigned char>(bytes[0]) & 0x0F;
    if (opcode == 9) {  // a ping, empty
      bytes.erase(0, 2);
      send(member.client, std::string("\x8A\x80\0\0\0\0", 6));
      return true;
    }
    if (opcode != 1) fail("a frame of another kind came");
    if (bytes.size() < kServerHeadBytes + kPayloadBytes) return false;
    const Clock::duration due(std::strtoll(bytes.c_str() + kServerHeadBytes, nullptr, 10));
    latencies.push_back(Milliseconds(Clock::now().time_since_epoch() - due).count());
    bytes.erase(0, kServerHeadBytes + kPayloadBytes);
    return true;
  }

  const Options options_;
  int epoll_;
  std::vector<Member> members_;
};

double percentile(std::vector<double>& sorted, double fraction) {
  return sorted[static_cast<std::size_t>(fraction * static_cast<double>(sorted.size() - 1))];
}

void printTalk(Rooms& rooms) {
  auto& sorted = rooms.latencies;
  if (sorted.empty()) fail("nothing came through");
  std::sort(sorted.begin(), sorted.end());
  std::printf("{\"sent\": %ld, \"received\": %zu, \"p50Ms\": %.3f, \"p99Ms\": %.3f, \"maxMs\": %.3f}\n",
              rooms.sent, sorted.size(), percentile(sorted, 0.5), percentile(sorted, 0.99), sorted.back());
}

void raiseDescriptorLimit() {
  rlimit limit{};
  ::getrlimit(RLIMIT_NOFILE, &limit);
  limit.rlim_cur = limit.rlim_max;
  ::setrlimit(RLIMIT_NOFILE, &limit);
}

int run(const Options& options) {
  raiseDescriptorLimit();
  Rooms rooms(options);
  std::printf("{\"openSeconds\": %.3f}\n", rooms.openSeconds);
  std::fflush(stdout);
  if (options.seconds > 0) {
    rooms.talk();
    printTalk(rooms);
    std::fflush(stdout);
  }
  rooms.hold();
  return 0;
}

}  // namespace
}  // namespace tevanto::bench

int main(int argc, char** argv) {
  tevanto::bench::Options options;
  CLI::App app("Rooms on a relay");
  app.add_option("--port", options.port)->required();
  app.add_option("--rooms", options.rooms)->required();
  app.add_option("--members", options.members)->check(CLI::Range(1, 2));
  app.add_option("--rate", options.rate);
  app.add_option("--seconds", options.seconds);
  app.add_flag("--tls", options.tls);
  CLI11_PARSE(app, argc, argv);
  return tevanto::bench::run(options);
}
