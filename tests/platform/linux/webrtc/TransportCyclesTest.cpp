// A thousand sessions in one process, as a companion that is never restarted has them.

#include <gtest/gtest.h>
#include <malloc.h>

#include <chrono>
#include <cstddef>

#include "tests/platform/linux/webrtc/EngineGround.h"
#include "tests/support/peers/PeerSide.h"
#include "tests/support/programs/ProcessMemory.h"

namespace tevanto {
namespace {

using namespace test;
using namespace std::chrono_literals;

constexpr int kAtOnce = 5;
constexpr int kSessions = 1000;

class TransportCycles : public EngineGround {
 protected:
  TransportCycles() : EngineGround(Threads::one) {}

  void sessions(int count) {
    for (int done = 0; done < count && !HasFatalFailure(); done += kAtOnce) cycle(kAtOnce);
    ASSERT_TRUE(rests());
    // The sockets close on the engine's thread, after the last reference.
    (void)keeper->statistics();
  }
  static std::size_t heapAfterTrim() {
    ::malloc_trim(0);
    return heapBytes();
  }

  // So that the engine's threads are there from the first count to the last.
  std::shared_ptr<PeerSide> keeper = PeerSide::make(*ground.peers);
};

TEST_F(TransportCycles, aThousandLeaveNoThreadNoDescriptorAndNoMemory) {
  ASSERT_NO_FATAL_FAILURE(sessions(300));  // what is made once, and the stocks that grow to the largest need
  const auto threads = threadCount();
  const auto descriptors = openDescriptors();
  const auto heap = heapAfterTrim();
  const auto resident = residentBytes();
  ASSERT_NO_FATAL_FAILURE(sessions(kSessions));
  EXPECT_TRUE(eventually([&] { return threadCount() == threads && openDescriptors() <= descriptors; }))
      << threadCount() - threads << " threads, " << openDescriptors() - descriptors << " descriptors";
  // Each peer leaves tasks behind that the engine looks at a minute later, in queues that keep the room that
  // they once had: a megabyte or two, the more the slower the machine. The two transports of a session take 7
  // KiB, their peers much more.
  EXPECT_TRUE(eventually([&] { return heapAfterTrim() <= heap + kSessions * std::size_t{4 * 1024}; }, 300s))
      << heapAfterTrim() << " bytes after " << heap;
  EXPECT_LE(residentBytes(), resident + kSessions * std::size_t{8} * 1024);
}

}  // namespace
}  // namespace tevanto
