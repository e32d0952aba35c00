#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "bench/BareChannels.h"
#include "platform/linux/webrtc/LoadedPeers.h"
#include "tests/support/peers/PeerSide.h"
#include "tests/support/programs/ProcessMemory.h"

// What a bare pair of the engine's data channels costs and carries. Prints one JSON object.

namespace {

using namespace tevanto;
using namespace tevanto::bench;
using Clock = std::chrono::steady_clock;

std::vector<double> openTimes(PeerConnectionFactory& factory, int count) {
  std::vector<double> times;
  for (int number = 0; number < count; ++number) {
    const auto start = Clock::now();
    const auto pair = test::connectedPair(factory);
    if (!pair) {
      std::fputs("the pair does not connect\n", stderr);
      std::exit(1);
    }
    times.push_back(milliseconds(Clock::now() - start));
    pair.close();
  }
  return times;
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
  const auto trips = BareChannels(Echo::fromEngine).trips(5000);
  const auto moved = BareChannels().throughput(std::chrono::seconds(5));
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
