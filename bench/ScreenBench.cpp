// The screen's framing beside what a machine can do at best, in the same run: packets beside memcpy, framed
// connections on loopback beside plain send and recv.

#include <arpa/inet.h>
#include <benchmark/benchmark.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <future>
#include <memory>
#include <semaphore>
#include <thread>
#include <vector>

#include "core/queue/EventLoop.h"
#include "net/tcp/AsioTcpListenerFactory.h"
#include "screen/wire/FramedConnection.h"
#include "screen/wire/ScreenPackets.h"
#include "screen/wire/WebRTCScreenPacketAssembler.h"

namespace tevanto {
namespace {

using Bytes = std::vector<std::byte>;

constexpr std::size_t kMegabyte = 1'000'000;
constexpr std::size_t kReadBytes = 64 * 1024;
constexpr std::size_t kBudget = 3'145'728;  // what a sender keeps under way, as the screen's does

void copyAFrame(benchmark::State& state) {
  const Bytes from(kMegabyte, std::byte{7});
  Bytes to(kMegabyte);
  for (auto _ : state) {
    std::memcpy(to.data(), from.data(), from.size());
    benchmark::DoNotOptimize(to.data());
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(kMegabyte));
}
BENCHMARK(copyAFrame)->MinTime(0.3);

void cutAndAssembleAFrame(benchmark::State& state) {
  const Bytes frame(kMegabyte, std::byte{7});
  WebRTCScreenPacketAssembler assembler;
  std::uint32_t id = 0;
  for (auto _ : state) {
    forEachPacket(frame, id++, [&](std::span<const std::byte> packet) {
      benchmark::DoNotOptimize(assembler.ingest(packet, std::chrono::steady_clock::time_point()));
      return true;
    });
  }
  if (assembler.pendingPackets() != 0) state.SkipWithError("a frame was not assembled");
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(kMegabyte));
}
BENCHMARK(cutAndAssembleAFrame)->MinTime(0.3);

/// A plain listening socket on loopback.
class Door {
 public:
  Door() : fd_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    address_.sin_family = AF_INET;
    address_.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address_;
    ::bind(fd_, reinterpret_cast<sockaddr*>(&address_), size);
    ::listen(fd_, 1);
    ::getsockname(fd_, reinterpret_cast<sockaddr*>(&address_), &size);
  }
  ~Door() { ::close(fd_); }
  int accept() const { return ::accept4(fd_, nullptr, nullptr, SOCK_CLOEXEC); }
  std::uint16_t port() const { return ntohs(address_.sin_port); }

 private:
  int fd_;
  sockaddr_in address_{};
};

int connectTo(std::uint16_t port) {
  const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  ::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address);
  const int on = 1;
  ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  return fd;
}

/// Sends all of it, as a blocking socket does.
void sendAll(int fd, const Bytes& bytes) {
  for (std::size_t sent = 0; sent < bytes.size();) {
    const auto count = ::send(fd, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
    if (count <= 0) return;
    sent += static_cast<std::size_t>(count);
  }
}

/// What one thread has received of what another waits for.
class Receipts {
 public:
  void add(std::size_t count) {
    const auto before = received_.fetch_add(count);
    const auto wanted = wanted_.load();
    if (before < wanted && before + count >= wanted) reached_.release();
  }
  std::size_t received() const { return received_; }
  /// Wakes the caller once, when so much has come in all.
  void waitFor(std::size_t total) {
    wanted_ = total;
    while (received_ < total) reached_.acquire();
  }

 private:
  std::atomic<std::size_t> received_ = 0;
  std::atomic<std::size_t> wanted_ = 0;
  std::counting_semaphore<> reached_{0};
};

/// A peer that reads whatever comes, on a thread of its own, until the stream ends.
class Reader {
 public:
  explicit Reader(int fd) : fd_(fd), thread_([this] { run(); }) {}
  ~Reader() {
    ::shutdown(fd_, SHUT_RDWR);
    thread_.join();
    ::close(fd_);
  }
  void waitFor(std::size_t bytes) { bytes_.waitFor(bytes); }

 private:
  void run() {
    Bytes block(kReadBytes);
    while (true) {
      const auto count = ::recv(fd_, block.data(), block.size(), 0);
      if (count <= 0) return;
      bytes_.add(static_cast<std::size_t>(count));
    }
  }

  const int fd_;
  Receipts bytes_;
  std::thread thread_;
};

/// A framed connection on a loop of its own, and the plain socket at its other end.
class Framed {
 public:
  explicit Framed(std::function<void(std::span<const std::byte>)> onData) {
    std::promise<void> ready;
    listener_->setStateHandler([](ListenerState) {});
    listener_->setConnectionHandler([&](std::unique_ptr<TcpConnection> accepted) {
      connection = std::make_shared<FramedConnection>(std::move(accepted));
      connection->onData = std::move(onData);
      connection->start(queue_);
      ready.set_value();
    });
    listener_->start(queue_);
    peer = connectTo(listener_->port());
    ready.get_future().wait();
  }
  ~Framed() {
    queue_->sync([&] {
      connection.reset();
      listener_.reset();
    });
    loop_->stop();
  }

  std::shared_ptr<FramedConnection> connection;
  int peer = -1;

 private:
  std::shared_ptr<EventLoop> loop_ = EventLoop::background(1);
  std::shared_ptr<SerialQueue> queue_ = loop_->makeQueue("tevanto.screen.server");
  std::unique_ptr<TcpListener> listener_ =
      std::move(AsioTcpListenerFactory(loop_, ListenScope::loopback).listen(0)).value();
};

void sendPlain(benchmark::State& state) {
  const Door door;
  const int sender = connectTo(door.port());
  Reader reader(door.accept());
  const Bytes frame(static_cast<std::size_t>(state.range(0)) + 4);
  std::size_t sent = 0;
  for (auto _ : state) {
    sendAll(sender, frame);
    sent += frame.size();
  }
  reader.waitFor(sent);
  ::close(sender);
  state.SetBytesProcessed(static_cast<std::int64_t>(sent));
}

void sendFramed(benchmark::State& state) {
  Framed framed(nullptr);
  Reader reader(framed.peer);
  const auto payload = std::make_shared<const Bytes>(static_cast<std::size_t>(state.range(0)));
  std::size_t sent = 0;
  for (auto _ : state) {
    sent += payload->size() + 4;
    if (sent > kBudget) reader.waitFor(sent - kBudget);
    framed.connection->send(payload, kBudget, true);
  }
  reader.waitFor(sent);
  state.SetBytesProcessed(static_cast<std::int64_t>(sent));
}

void receivePlain(benchmark::State& state) {
  const Door door;
  const int sender = connectTo(door.port());
  const int receiver = door.accept();
  const Bytes frame(static_cast<std::size_t>(state.range(0)) + 4);
  std::atomic<bool> done = false;
  std::thread writer([&] {
    while (!done) sendAll(sender, frame);
  });
  Bytes whole(frame.size());  // a frame has to lie in one piece in the end
  std::size_t received = 0;
  for (auto _ : state) {
    for (std::size_t got = 0; got < frame.size();) {
      const auto count = ::recv(receiver, whole.data() + got, whole.size() - got, 0);
      if (count <= 0) break;
      got += static_cast<std::size_t>(count);
    }
    received += frame.size();
  }
  done = true;
  ::shutdown(receiver, SHUT_RDWR);
  ::close(receiver);
  writer.join();
  ::close(sender);
  state.SetBytesProcessed(static_cast<std::int64_t>(received));
}

void receiveFramed(benchmark::State& state) {
  // Rarely enough that waking this thread takes nothing from the two that count.
  constexpr std::int64_t kFramesPerWait = 16;
  Receipts frames;
  Framed framed([&](std::span<const std::byte>) { frames.add(1); });
  Bytes frame(static_cast<std::size_t>(state.range(0)) + 4);
  for (int i = 0; i < 4; ++i)
    frame[static_cast<std::size_t>(i)] = static_cast<std::byte>(state.range(0) >> (24 - 8 * i));
  std::atomic<bool> done = false;
  std::thread writer([&] {
    while (!done) sendAll(framed.peer, frame);
  });
  const auto before = frames.received();
  auto expected = before;
  while (state.KeepRunningBatch(kFramesPerWait)) frames.waitFor(expected += kFramesPerWait);
  done = true;
  writer.join();
  ::close(framed.peer);
  state.SetBytesProcessed(static_cast<std::int64_t>((expected - before) * frame.size()));
}

// A frame of the stream at 6 Mbit/s and 15 frames a second, and a large key frame.
BENCHMARK(sendPlain)->Arg(50'000)->Arg(1'000'000)->UseRealTime()->MinTime(0.3);
BENCHMARK(sendFramed)->Arg(50'000)->Arg(1'000'000)->UseRealTime()->MinTime(0.3);
BENCHMARK(receivePlain)->Arg(50'000)->Arg(1'000'000)->UseRealTime()->MinTime(0.3);
BENCHMARK(receiveFramed)->Arg(50'000)->Arg(1'000'000)->UseRealTime()->MinTime(0.3);

}  // namespace
}  // namespace tevanto

BENCHMARK_MAIN();
