#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "core/EventLoop.h"
#include "p2p/PeerConnection.h"
#include "tests/support/PeerSide.h"

/// A bare pair of the engine's data channels on the loopback interface: what any transport over it can reach
/// at most.
namespace tevanto::bench {

inline constexpr std::size_t kPacket = 4008;     // a screen packet
inline constexpr std::size_t kCommand = 118;     // a pointer movement
inline constexpr std::size_t kWindow = 262'144;  // buffered bytes at which the sender waits

struct Throughput {
  double bytesPerSecond = 0;
  double processorPerSecond = 0;
};

struct RoundTrips {
  std::vector<double> microseconds;
  std::vector<double> sendMicroseconds;
};

double milliseconds(std::chrono::steady_clock::duration duration);
double percentile(std::vector<double> values, double part);
/// Of this process, by all of its threads.
double processorSeconds();

/// Ends the program when the two do not connect.
test::PeerPair pairOf(PeerConnectionFactory& factory);
Throughput bareThroughput(PeerConnectionFactory& factory, std::chrono::seconds duration);
/// Who sends back what came: the engine's thread that brought it, as no program could that has state of its
/// own; or a thread of the program, which the message is copied to.
enum class Echo { fromEngine, fromProgram };
class BareEcho {
 public:
  BareEcho(PeerConnectionFactory& factory, Echo echo);
  ~BareEcho();
  BareEcho(const BareEcho&) = delete;
  BareEcho& operator=(const BareEcho&) = delete;

  RoundTrips trips(std::uint64_t count);

 private:
  class Sink;

  const test::PeerPair pair_;
  const std::shared_ptr<EventLoop> program_;
  const std::shared_ptr<Sink> echo_;
  const std::shared_ptr<Sink> back_;
  std::uint64_t done_ = 0;
};

}  // namespace tevanto::bench
