#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

/// A pair of the engine's data channels by its own interface alone, on the loopback interface: what a program
/// gets that calls the library itself.
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

/// Who sends back what came: the engine's thread that brought it, as no program could that has state of its
/// own; or a thread of the program, which the message is copied to.
enum class Echo { fromEngine, fromProgram };

/// Ends the program when the two do not connect.
class BareChannels {
 public:
  /// The far side only counts what comes.
  BareChannels();
  explicit BareChannels(Echo echo);
  ~BareChannels();
  BareChannels(const BareChannels&) = delete;
  BareChannels& operator=(const BareChannels&) = delete;

  /// Screen packets, one way.
  Throughput throughput(std::chrono::seconds duration);
  /// A message of `kCommand` bytes there and back.
  RoundTrips trips(std::uint64_t count);

 private:
  class Pair;

  const std::unique_ptr<Pair> pair_;
};

double milliseconds(std::chrono::steady_clock::duration duration);
double percentile(std::vector<double> values, double part);
/// Of this process, by all of its threads.
double processorSeconds();

}  // namespace tevanto::bench
