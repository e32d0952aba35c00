// Frames come, messages go and channels change on threads of their own. Run under ThreadSanitizer too.

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "core/queue/EventLoop.h"
#include "p2p/channels/ControlFrames.h"
#include "p2p/channels/DataChannelMessaging.h"
#include "remote/message/RemoteMessageCodec.h"
#include "screen/wire/ScreenPackets.h"
#include "screen/wire/ScreenStreamMessage.h"
#include "tests/support/peers/ScreenBytes.h"
#include "tests/support/programs/Eventually.h"

namespace tevanto {
namespace {

using test::Bytes;
using test::bytesOf;
using test::eventually;

/// A channel that is always open and only counts.
class CountingChannel final : public DataChannel {
 public:
  std::string label() const override { return "counting"; }
  DataChannelState state() const override { return DataChannelState::open; }
  std::uint64_t bufferedAmount() const override { return 0; }
  bool send(std::span<const std::byte>) override {
    ++sent;
    return true;
  }
  void setObserver(std::weak_ptr<Observer>) override {}
  void close() override {}

  std::atomic<int> sent = 0;
};

class CountingDelegate final : public DataChannelMessaging::Delegate {
 public:
  void didReceiveMessage(RemoteMessage message) override {
    messages += message.type == "ack";
    sound = sound && message.type == "ack" && message.message->size() == 130'000;
  }
  void didReceiveScreenData(std::span<const std::byte> message) override {
    const auto frame = decodeVideoFrame(message.subspan(1));
    sound = sound && frame && frame->data.size() == 20'000;
    ++frames;
  }
  void didReceiveRelayScreenBytes(std::uint64_t bytes) override { relayed += bytes; }
  void screenDataArriving() override { ++looks; }

  std::atomic<int> messages = 0;
  std::atomic<int> frames = 0;
  std::atomic<int> looks = 0;
  std::atomic<std::uint64_t> relayed = 0;
  std::atomic<bool> sound = true;
};

constexpr int kRounds = 200;

TEST(DataChannelMessagingThreads, carriesBothWaysWhileChannelsAndRouteChange) {
  auto loop = EventLoop::background(1);
  const auto delegate = std::make_shared<CountingDelegate>();
  DataChannelMessaging messaging({loop->makeQueue("main"), "answerer"}, delegate);
  const auto control = std::make_shared<CountingChannel>();
  const auto screen = std::make_shared<CountingChannel>();
  messaging.setControlChannel(control);
  messaging.setScreenChannel(screen);

  std::string json;
  ASSERT_TRUE(encodeRemoteMessage({.type = "ack", .message = std::string(130'000, 'x')}, json));
  const auto frame = videoFrameMessage(Bytes(20'000), true);
  std::vector<std::thread> threads;
  threads.emplace_back([&] {
    for (std::uint32_t id = 0; id < kRounds; ++id) {
      forEachMessageChunk(std::as_bytes(std::span(json.data(), json.size())), id, [&](auto chunk) {
        messaging.received(*control, chunk);
        return true;
      });
    }
  });
  threads.emplace_back([&] {
    for (std::uint32_t id = 0; id < kRounds; ++id) {
      forEachPacket(frame, id, [&](auto packet) {
        messaging.received(*screen, packet);
        return true;
      });
    }
  });
  threads.emplace_back([&] {
    for (int i = 0; i < kRounds; ++i) messaging.sendScreenFrame(frame, true);
  });
  threads.emplace_back([&] {
    for (int i = 0; i < kRounds; ++i) {
      messaging.send({.type = "ack", .message = std::string(70'000, 'y')});
      messaging.send({.type = "command", .command = RemoteCommand{.type = "movePointer"}});
    }
  });
  threads.emplace_back([&] {
    for (int i = 0; i < kRounds; ++i) {
      messaging.setMotionChannel(i % 2 == 0 ? control : nullptr);
      messaging.routeSelected(i % 3 != 0);
    }
  });
  for (auto& thread : threads) thread.join();

  EXPECT_TRUE(eventually([&] { return delegate->messages == kRounds && delegate->frames == kRounds; }));
  EXPECT_TRUE(delegate->sound);
  EXPECT_EQ(delegate->looks, kRounds);
  EXPECT_EQ(control->sent, 3 * kRounds) << "two chunks and one motion a round";
  EXPECT_EQ(screen->sent, 6 * kRounds);
  loop->stop();
}

}  // namespace
}  // namespace tevanto
