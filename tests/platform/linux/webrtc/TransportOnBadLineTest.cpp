// The screen's way over a narrow line that loses packets.

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "screen/wire/ScreenStreamMessage.h"
#include "tests/platform/linux/webrtc/TransportsInTwoNetworks.h"

namespace tevanto {
namespace {

using namespace test;
using namespace std::chrono_literals;

constexpr std::size_t kDeltaBytes = 20'000;
constexpr std::size_t kKeyBytes = 60'000;
constexpr int kKeyInterval = 40;
constexpr auto kPace = 50ms;  // 3.2 Mbit/s and more

/// A video frame by its type, with a number for its content.
std::vector<std::byte> frame(std::uint32_t number, std::size_t size) {
  std::vector<std::byte> made(size, std::byte{0x55});
  made[0] = static_cast<std::byte>(ScreenMessageType::videoFrame);
  for (std::size_t i = 0; i < 4; ++i) made[1 + i] = static_cast<std::byte>(number >> (24 - 8 * i));
  return made;
}

std::uint32_t numberIn(std::span<const std::byte> message) {
  std::uint32_t number = 0;
  for (std::size_t i = 0; i < 4; ++i) number = number << 8 | std::to_integer<std::uint32_t>(message[1 + i]);
  return number;
}

struct BadLine {
  const char* name;
  LineConditions conditions;
};
const BadLine kLines[] = {
    {"narrow", {.loss = 0.02, .delay = 30ms, .bitsPerSecond = 1'000'000}},
    {"narrowAndFar", {.loss = 0.05, .delay = 200ms, .reorder = 0.1, .bitsPerSecond = 1'000'000}}};

class TransportOnBadLine : public TransportsInTwoNetworks, public ::testing::WithParamInterface<BadLine> {
 protected:
  void listen() override {
    phone->transport->onScreenData = [this](std::span<const std::byte> message) {
      const std::lock_guard lock(mutex);
      seen.push_back(numberIn(message));
    };
  }

  /// Sends frames as an encoder makes them; after one that was refused only a key frame goes on. Notes what
  /// was taken.
  void send(int count) {
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < count; ++i, ++next) {
      // By the clock, so that a busy machine offers the line no less.
      std::this_thread::sleep_until(start + i * kPace);
      const bool isKey = needsKey || sinceKey == kKeyInterval;
      sinceKey = isKey ? 1 : sinceKey + 1;
      const auto size = isKey ? kKeyBytes : kDeltaBytes;
      needsKey = !computer->transport->sendScreenFrame(frame(next, size), isKey);
      if (!needsKey) {
        taken.push_back(next);
        takenBytes += size;
        takenUntil[next] = takenBytes;
      }
      mostUnderWay = std::max(mostUnderWay, bytesUnderWay());
    }
  }
  std::size_t bytesUnderWay() {
    const std::lock_guard lock(mutex);
    return takenBytes - (seen.empty() ? 0 : takenUntil[seen.back()]);
  }
  bool arrives() {
    return eventually([this] { return bytesUnderWay() == 0; }, 60s);
  }
  /// A stalled line may cost the frame that it was in the middle of; the next key frame gets through.
  bool arrivesAgain() {
    return eventually(
        [this] {
          if (bytesUnderWay() == 0) return true;
          send(1);
          std::this_thread::sleep_for(kPace);
          return false;
        },
        120s);
  }

  std::uint32_t next = 0;
  int sinceKey = 0;
  bool needsKey = true;
  std::vector<std::uint32_t> taken;
  std::size_t takenBytes = 0;
  std::size_t mostUnderWay = 0;
  std::map<std::uint32_t, std::size_t> takenUntil;  // bytes, by the number of the frame
  std::mutex mutex;                                 // guards `seen`
  std::vector<std::uint32_t> seen;
};

TEST_P(TransportOnBadLine, leavesFramesOutWhereTheyWouldHaveToWait) {
  send(20);
  ASSERT_TRUE(arrives());
  EXPECT_EQ(taken.size(), 20U) << "a good line takes all";

  world->line().set(GetParam().conditions);
  mostUnderWay = 0;
  send(300);
  EXPECT_LT(taken.size(), 20U + 250) << "the line takes a third at most";
  EXPECT_GT(taken.size(), 20U + 10);
  // What waits is what the drop rule lets wait, with the frame that came last and what the engine has on the
  // line: it does not grow with the time that the line has been bad.
  EXPECT_LT(mostUnderWay, 524'288U + kKeyBytes + 300'000U);

  world->line().set({});
  ASSERT_TRUE(arrivesAgain());
  const auto before = taken.size();
  needsKey = true;
  send(20);
  EXPECT_EQ(taken.size(), before + 20) << "a line that is good again takes all";
  EXPECT_TRUE(arrives());
  const std::lock_guard lock(mutex);
  EXPECT_TRUE(std::is_sorted(seen.begin(), seen.end()));
  EXPECT_TRUE(std::includes(taken.begin(), taken.end(), seen.begin(), seen.end())) << "in order, each once";
}

INSTANTIATE_TEST_SUITE_P(Lines, TransportOnBadLine, ::testing::ValuesIn(kLines),
                         [](const auto& each) { return std::string(each.param.name); });

}  // namespace
}  // namespace tevanto
