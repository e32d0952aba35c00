#include <sys/resource.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "platform/linux/LoadedPeers.h"
#include "tests/support/PeerSide.h"
#include "tests/support/ProcessMemory.h"

// A bare pair of the engine's data channels on the loopback interface: what any transport over it can reach
// at most. Prints one JSON object.

namespace {

using namespace tevanto;
using Clock = std::chrono::steady_clock;

constexpr std::size_t kPacket = 4008;    // a screen packet
constexpr std::size_t kCommand = 118;    // a pointer movement
constexpr std::size_t kWindow = 65'536;  // buffered bytes at which the screen's frames wait

double milliseconds(Clock::duration duration) {
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

std::vector<double> openTimes(PeerConnectionFactory& factory, int count) {
  std::vector<double> times;
  for (int number = 0; number < count; ++number) {
    const auto start = Clock::now();
    const auto pair = pairOf(factory);
    times.push_back(milliseconds(Clock::now() - start));
    pair.close();
  }
  return times;
}

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

struct Throughput {
  double bytesPerSecond = 0;
  double processorPerSecond = 0;
};

Throughput throughput(PeerConnectionFactory& factory, std::chrono::seconds duration) {
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

struct RoundTrips {
  std::vector<double> microseconds;
  std::vector<double> sendMicroseconds;
};

RoundTrips roundTrips(PeerConnectionFactory& factory, std::uint64_t count) {
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

}  // namespace

int main() {
  PeerEngineOptions options;
  options.includeLoopback = true;
  LoadedPeers factory(options);
  const auto before = test::residentBytes();
  const auto start = Clock::now();
  { const auto side = test::PeerSide::make(factory); }
  const auto firstPeer = milliseconds(Clock::now() - start);
  const auto open = openTimes(factory, 30);
  const auto trips = roundTrips(factory, 5000);
  const auto moved = throughput(factory, std::chrono::seconds(5));
  std::printf(
      "{\"first_peer_ms\": %.2f, \"open_ms_p50\": %.1f, \"open_ms_p99\": %.1f, \"round_trip_us_p50\": %.1f, "
      "\"round_trip_us_p99\": %.1f, \"send_us_p50\": %.1f, \"throughput_mb_s\": %.1f, \"throughput_cpu\": "
      "%.2f, "
      "\"resident_mb_before\": %.1f, \"resident_mb_after\": %.1f}\n",
      firstPeer, percentile(open, 0.5), percentile(open, 0.99), percentile(trips.microseconds, 0.5),
      percentile(trips.microseconds, 0.99), percentile(trips.sendMicroseconds, 0.5),
      moved.bytesPerSecond / 1e6, moved.processorPerSecond, static_cast<double>(before) / 1e6,
      static_cast<double>(test::residentBytes()) / 1e6);
  return 0;
}
