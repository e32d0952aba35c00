#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <span>
#include <vector>

#include "p2p/channels/DataChannelMessaging.h"
#include "tests/support/fakes/FakeDataChannel.h"
#include "tests/support/fakes/ManualQueue.h"

namespace {

using namespace tevanto;

class CountingDelegate final : public DataChannelMessaging::Delegate {
 public:
  void didReceiveMessage(RemoteMessage message) override {
    if (message.type.size() > kMost) std::abort();
  }
  void didReceiveScreenData(std::span<const std::byte> message) override {
    if (message.empty() || message.size() > kMost) std::abort();
    delivered += message.size();
  }
  void didReceiveRelayScreenBytes(std::uint64_t bytes) override { reported += bytes; }
  void screenDataArriving() override {}

  static constexpr std::size_t kMost = 3'145'728;
  std::uint64_t delivered = 0;
  std::uint64_t reported = 0;
};

}  // namespace

/// The input is a row of frames, each behind two bytes: which channel it comes on and how much time has
/// passed, and its length. All of them go through a relay.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto mainQueue = std::make_shared<test::ManualQueue>("main");
  const auto delegate = std::make_shared<CountingDelegate>();
  DataChannelMessaging messaging({mainQueue, "answerer"}, delegate);
  const std::array channels = {std::make_shared<test::FakeDataChannel>("tevanto"),
                               std::make_shared<test::FakeDataChannel>("tevanto-motion"),
                               std::make_shared<test::FakeDataChannel>("tevanto-screen"),
                               std::make_shared<test::FakeDataChannel>("tevanto")};
  messaging.setControlChannel(channels[0]);
  messaging.setMotionChannel(channels[1]);
  messaging.setScreenChannel(channels[2]);
  messaging.routeSelected(true);
  auto rest = std::as_bytes(std::span(data, size));
  while (rest.size() >= 2) {
    const auto head = std::to_integer<unsigned>(rest[0]);
    const auto length = std::min(std::to_integer<std::size_t>(rest[1]), rest.size() - 2);
    mainQueue->advance(std::chrono::milliseconds(100) * (head >> 2));
    // Exactly as large as the frame, so that a read behind it is seen.
    const std::vector<std::byte> frame(rest.begin() + 2,
                                       rest.begin() + 2 + static_cast<std::ptrdiff_t>(length));
    messaging.received(*channels[head & 3], frame);
    rest = rest.subspan(2 + length);
  }
  mainQueue->runPending();
  const auto left = messaging.routeSelected(false).bytes.value_or(0);
  if (delegate->reported + left != delegate->delivered) std::abort();
  return 0;
}
