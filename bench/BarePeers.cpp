#include "bench/BarePeers.h"

#include <sys/resource.h>

#include <algorithm>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <thread>
#include <utility>

#include "core/EventLoop.h"
#include "core/SerialQueue.h"

namespace tevanto::bench {
namespace {

using Clock = std::chrono::steady_clock;

/// Takes what comes in, on the engine's thread.
class CountingSink : public DataChannel::Observer {
 public:
  explicit CountingSink(bool echoes, std::shared_ptr<SerialQueue> program = nullptr)
      : echoes_(echoes), program_(std::move(program)) {}
  void dataChannelDidChangeState(DataChannel&) override {}
  void dataChannelDidReceive(DataChannel& channel, std::span<const std::byte> message) override {
    if (echoes_) echo(channel, message);
    const std::lock_guard lock(mutex_);
    ++messages_;
    bytes_ += message.size();
    arrived_.notify_all();
  }
  void waitFor(std::uint64_t messages) {
    std::unique_lock lock(mutex_);
    arrived_.wait(lock, [&] { return messages_ >= messages; });
  }
  std::uint64_t bytes() {
    const std::lock_guard lock(mutex_);
    return bytes_;
  }

 private:
  void echo(DataChannel& channel, std::span<const std::byte> message) const {
    if (!program_) {
      channel.send(message);
      return;
    }
    program_->async([&channel, copy = std::vector(message.begin(), message.end())] { channel.send(copy); });
  }

  const bool echoes_;
  const std::shared_ptr<SerialQueue> program_;  // null: the engine's thread
  std::mutex mutex_;
  std::condition_variable arrived_;
  std::uint64_t messages_ = 0;
  std::uint64_t bytes_ = 0;
};

}  // namespace

double milliseconds(std::chrono::steady_clock::duration duration) {
  return std::chrono::duration<double, std::milli>(duration).count();
}

double percentile(std::vector<double> values, double part) {
  std::sort(values.begin(), values.end());
  return values[std::min(values.size() - 1,
                         static_cast<std::size_t>(part * static_cast<double>(values.size())))];
}

double processorSeconds() {
  rusage usage{};
  ::getrusage(RUSAGE_SELF, &usage);
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
  };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

test::PeerPair pairOf(PeerConnectionFactory& factory) {
  auto pair = test::connectedPair(factory);
  if (!pair) {
    std::fputs("the pair does not connect\n", stderr);
    std::exit(1);
  }
  return pair;
}

Throughput bareThroughput(PeerConnectionFactory& factory, std::chrono::seconds duration) {
  const auto pair = pairOf(factory);
  const auto sink = std::make_shared<CountingSink>(false);
  pair.answerer->channel("tevanto")->setObserver(sink);
  const auto channel = pair.offerer->channel("tevanto");
  const std::vector<std::byte> packet(kPacket);
  const auto start = Clock::now();
  const auto processor = processorSeconds();
  while (Clock::now() - start < duration) {
    if (channel->bufferedAmount() > kWindow) {
      std::this_thread::sleep_for(std::chrono::microseconds(100));
      continue;
    }
    channel->send(packet);
  }
  const auto bytes = sink->bytes();
  const auto seconds = milliseconds(Clock::now() - start) / 1000;
  pair.answerer->channel("tevanto")->setObserver({});
  pair.close();
  return {static_cast<double>(bytes) / seconds, (processorSeconds() - processor) / seconds};
}

class BareEcho::Sink final : public CountingSink {
 public:
  using CountingSink::CountingSink;
};

BareEcho::BareEcho(PeerConnectionFactory& factory, Echo echo)
    : pair_(pairOf(factory)),
      program_(EventLoop::background(1)),
      echo_(
          std::make_shared<Sink>(true, echo == Echo::fromProgram ? program_->makeQueue("program") : nullptr)),
      back_(std::make_shared<Sink>(false)) {
  pair_.answerer->channel("tevanto")->setObserver(echo_);
  pair_.offerer->channel("tevanto")->setObserver(back_);
}

BareEcho::~BareEcho() {
  pair_.answerer->channel("tevanto")->setObserver({});
  program_->stop();
  pair_.close();
}

RoundTrips BareEcho::trips(std::uint64_t count) {
  const auto channel = pair_.offerer->channel("tevanto");
  const std::vector<std::byte> command(kCommand);
  RoundTrips trips;
  for (std::uint64_t number = 0; number < count; ++number) {
    const auto start = Clock::now();
    channel->send(command);
    const auto sent = Clock::now();
    back_->waitFor(++done_);
    trips.microseconds.push_back(milliseconds(Clock::now() - start) * 1000);
    trips.sendMicroseconds.push_back(milliseconds(sent - start) * 1000);
  }
  return trips;
}

}  // namespace tevanto::bench
