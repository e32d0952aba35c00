#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "p2p/channels/DataChannelMessaging.h"
#include "screen/wire/ScreenPackets.h"
#include "tests/support/fakes/FakeDataChannel.h"
#include "tests/support/fakes/ManualQueue.h"
#include "tests/support/fakes/RecordingLogSink.h"
#include "tests/support/peers/ScreenBytes.h"

namespace tevanto::test {

class RecordingDelegate final : public DataChannelMessaging::Delegate {
 public:
  void didReceiveMessage(RemoteMessage message) override { messages.push_back(std::move(message)); }
  void didReceiveScreenData(std::span<const std::byte> message) override {
    screen.push_back(copyOf(message));
    events.push_back("data");
  }
  void didReceiveRelayScreenBytes(std::uint64_t bytes) override {
    events.push_back("relayed " + std::to_string(bytes));
  }
  void screenDataArriving() override { ++looks; }

  std::vector<RemoteMessage> messages;
  std::vector<Bytes> screen;
  std::vector<std::string> events;
  int looks = 0;
};

class DataChannelMessagingFixture : public testing::Test {
 protected:
  DataChannelMessagingFixture() {
    messaging.setControlChannel(control);
    messaging.setMotionChannel(motion);
    messaging.setScreenChannel(screen);
  }

  std::vector<std::string> logged() const {
    std::vector<std::string> texts;
    for (const auto& line : sink->lines()) texts.push_back(line.text);
    return texts;
  }
  void receive(const FakeDataChannel& channel, const Bytes& frame) {
    messaging.received(channel, frame);
    mainQueue->runPending();
  }
  /// All packets of a screen message.
  void receiveScreen(const Bytes& message, std::uint32_t id) {
    forEachPacket(message, id, [&](auto packet) {
      messaging.received(*screen, packet);
      return true;
    });
    mainQueue->runPending();
  }

  std::shared_ptr<ManualQueue> mainQueue = std::make_shared<ManualQueue>("main");
  std::shared_ptr<RecordingLogSink> sink = std::make_shared<RecordingLogSink>();
  std::shared_ptr<RecordingDelegate> delegate = std::make_shared<RecordingDelegate>();
  std::shared_ptr<FakeDataChannel> control = std::make_shared<FakeDataChannel>("tevanto");
  std::shared_ptr<FakeDataChannel> motion = std::make_shared<FakeDataChannel>("tevanto-motion");
  std::shared_ptr<FakeDataChannel> screen = std::make_shared<FakeDataChannel>("tevanto-screen");
  DataChannelMessaging messaging{{mainQueue, "answerer", Logger(sink, "webrtc")}, delegate};
};

}  // namespace tevanto::test
