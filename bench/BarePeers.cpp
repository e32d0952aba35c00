#include "bench/BarePeers.h"

#include <sys/resource.h>

#include <algorithm>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <thread>

namespace tevanto::bench {
namespace {

using Clock = std::chrono::steady_clock;

/// Takes what comes in, on the engine's thread.
class Sink final : public DataChannel::Observer {
 public:
  explicit Sink(bool echoes) : echoes_(echoes) {}
  void dataChannelDidChangeState(DataChannel&) override {}
  void dataChannelDidReceive(DataChannel& channel, std::span<const std::byte> message) override {
    if (echoes_) channel.send(message);
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
  const bool echoes_;
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
  const auto sink = std::make_shared<Sink>(false);
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

RoundTrips bareRoundTrips(PeerConnectionFactory& factory, std::uint64_t count) {
  const auto pair = pairOf(factory);
  const auto echo = std::make_shared<Sink>(true);
  const auto back = std::make_shared<Sink>(false);
  pair.answerer->channel("tevanto")->setObserver(echo);
  const auto channel = pair.offerer->channel("tevanto");
  channel->setObserver(back);
  const std::vector<std::byte> command(kCommand);
  RoundTrips trips;
  for (std::uint64_t number = 1; number <= count; ++number) {
    const auto start = Clock::now();
    channel->send(command);
    const auto sent = Clock::now();
    back->waitFor(number);
    trips.microseconds.push_back(milliseconds(Clock::now() - start) * 1000);
    trips.sendMicroseconds.push_back(milliseconds(sent - start) * 1000);
  }
  pair.close();
  return trips;
}

}  // namespace tevanto::bench
