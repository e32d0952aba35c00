// What is said on the control channel while the line loses, delays and reorders packets.

#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "tests/platform/linux/webrtc/TransportsInTwoNetworks.h"

namespace tevanto {
namespace {

using namespace test;
using namespace std::chrono_literals;

constexpr int kMessages = 12;
constexpr std::size_t kPacketful = 1'000;  // so that each message is a packet of its own

class ControlOnBadLine : public TransportsInTwoNetworks {
 protected:
  void say(int count, std::size_t bytes) {
    for (int i = 0; i < count; ++i, ++said) {
      auto message = numbered(said);
      message.deviceName = std::string(bytes, 'x');
      computer->transport->send(message);
      phone->transport->send(message);
    }
  }
  /// Whether both sides have heard all that was said; numbers that are out of their turn show in `inOrder`.
  bool isHeard() {
    return eventually([this] { return computer->heard->numbered >= said && phone->heard->numbered >= said; },
                      300s);
  }

  int said = 0;
};

TEST_F(ControlOnBadLine, everyMessageArrivesOnceAndInOrder) {
  for (const double loss : {0.0, 0.01, 0.05, 0.25}) {
    for (const auto delay : {0ms, 50ms, 200ms}) {
      SCOPED_TRACE("loss " + std::to_string(loss) + ", delay " + std::to_string(delay.count()) + " ms");
      world->line().set({.loss = loss, .delay = delay, .reorder = 0.1});
      say(kMessages, kPacketful);
      // In chunks. It arrives on the worst lines as well, in the same session, but late: with a quarter lost
      // it took 6 s without a delay, 35 s at 50 ms and 278 s at 200 ms.
      if (loss < 0.1 || delay == 0ms) say(1, 60'100);
      ASSERT_TRUE(isHeard()) << computer->heard->numbered << " and " << phone->heard->numbered << " of "
                             << said;
    }
  }
  EXPECT_GT(world->line().dropped(), 0U) << "the line was bad";
  world->line().set({});
  say(1, 1);  // comes behind whatever would come twice
  ASSERT_TRUE(isHeard());
  for (const auto& side : {computer.get(), phone.get()}) {
    EXPECT_EQ(side->heard->numbered, said);
    EXPECT_TRUE(side->heard->inOrder);
    EXPECT_EQ(side->heard->failures, 0) << "in one session";
  }
}

}  // namespace
}  // namespace tevanto
