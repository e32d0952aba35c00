#include <gtest/gtest.h>

#include <boost/json/value.hpp>
#include <chrono>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "p2p/channels/ControlFrames.h"
#include "p2p/channels/DataChannelMessaging.h"
#include "tests/support/fakes/FakeDataChannel.h"
#include "tests/support/fakes/ManualQueue.h"
#include "tests/vectors/Vectors.h"

namespace tevanto::test {
namespace {

/// The three channels of a transport, with another end that the test plays.
class Channels {
 public:
  Channels() {
    messaging_.setControlChannel(channel("tevanto"));
    messaging_.setMotionChannel(channel("tevanto-motion"));
    messaging_.setScreenChannel(channel("tevanto-screen"));
  }

  void take(const std::string& label, std::string_view frame) {
    messaging_.received(*channel(label), spanOf(frame));
    queue_->runPending();
  }
  /// Lets time pass until so many seconds after the beginning.
  void waitUntil(double seconds) {
    const std::chrono::duration<double> since(seconds);
    queue_->advance(start_ + std::chrono::duration_cast<SerialQueue::Duration>(since) - queue_->now());
  }
  void send(const RemoteMessage& message) { messaging_.send(message); }
  bool sendScreen(std::string_view message) { return messaging_.sendScreenPayload(spanOf(message)); }

  const std::vector<RemoteMessage>& messages() const { return delegate_->messages; }
  const std::vector<std::string>& screenMessages() const { return delegate_->screenMessages; }
  std::vector<std::string> sent(const std::string& label) {
    std::vector<std::string> frames;
    for (const auto& frame : channel(label)->sent) frames.push_back(stringOf(frame));
    return frames;
  }
  std::size_t sentEverywhere() {
    return sent("tevanto").size() + sent("tevanto-motion").size() + sent("tevanto-screen").size();
  }

 private:
  struct Delegate final : DataChannelMessaging::Delegate {
    void didReceiveMessage(RemoteMessage message) override { messages.push_back(std::move(message)); }
    void didReceiveScreenData(std::span<const std::byte> message) override {
      screenMessages.push_back(stringOf(message));
    }
    void didReceiveRelayScreenBytes(std::uint64_t) override {}
    void screenDataArriving() override {}

    std::vector<RemoteMessage> messages;
    std::vector<std::string> screenMessages;
  };

  std::shared_ptr<FakeDataChannel> channel(const std::string& label) {
    auto& found = channels_[label];
    if (!found) found = std::make_shared<FakeDataChannel>(label);
    return found;
  }

  std::shared_ptr<ManualQueue> queue_ = std::make_shared<ManualQueue>("main");
  SerialQueue::TimePoint start_ = queue_->now();
  std::shared_ptr<Delegate> delegate_ = std::make_shared<Delegate>();
  std::map<std::string, std::shared_ptr<FakeDataChannel>> channels_;
  DataChannelMessaging messaging_{{queue_, "answerer"}, delegate_};
};

RemoteMessage insertText(std::string text) {
  RemoteMessage message;
  message.type = "command";
  message.command.emplace();
  message.command->type = "insertText";
  message.command->text = std::move(text);
  return message;
}

// ---- Frames

TEST(ControlFrameVectors, holdMessages) {
  for (const auto& vector : vectorsOf("control-frames.json", "message")) {
    SCOPED_TRACE(vector.name());
    Channels channels;
    const auto message = messageOf(vector.value());
    channels.take(vector.text("channel"), vector.bytes());
    EXPECT_EQ(channels.messages(), std::vector{message});
    EXPECT_TRUE(channels.screenMessages().empty());
    if (vector.isReadOnly()) continue;
    channels.send(message);
    EXPECT_EQ(channels.sent(vector.text("channel")), std::vector{vector.bytes()});
    EXPECT_EQ(channels.sentEverywhere(), 1U);
  }
}

TEST(ControlFrameVectors, holdScreenMessages) {
  for (const auto& vector : vectorsOf("control-frames.json", "screenMessage")) {
    SCOPED_TRACE(vector.name());
    Channels channels;
    const auto message = bytesOfSample(vector.value());
    const bool isSent = vector.result() != "not sent";
    EXPECT_EQ(channels.sendScreen(message), isSent);
    EXPECT_EQ(channels.sentEverywhere(), isSent ? 1U : 0U);
    if (!isSent) continue;
    EXPECT_TRUE(channels.sent("tevanto") == std::vector{vector.bytes()});
    channels.take("tevanto", vector.bytes());
    EXPECT_TRUE(channels.screenMessages() == std::vector{message});
    EXPECT_TRUE(channels.messages().empty());
  }
}

TEST(ControlFrameVectors, holdIgnoredFrames) {
  for (const auto& vector : vectorsOf("control-frames.json", "frame")) {
    SCOPED_TRACE(vector.name());
    ASSERT_EQ(vector.result(), "ignored");
    Channels channels;
    channels.take("tevanto", vector.bytes());
    channels.take("tevanto-motion", vector.bytes());
    EXPECT_TRUE(channels.messages().empty());
    EXPECT_TRUE(channels.screenMessages().empty());
  }
}

// ---- Chunks

TEST(ChunkVectors, areReadOneByOne) {
  for (const auto& vector : vectorsOf("chunks.json", "chunk")) {
    SCOPED_TRACE(vector.name());
    const auto bytes = vector.bytes();
    const auto chunk = parseMessageChunk(spanOf(bytes));
    ASSERT_EQ(chunk.has_value(), vector.result() != "ignored");
    if (!chunk) continue;
    const auto& expected = vector.value().as_object();
    EXPECT_EQ(chunk->messageID, expected.at("messageID").to_number<std::uint32_t>());
    EXPECT_EQ(chunk->index, expected.at("index").to_number<std::uint16_t>());
    EXPECT_EQ(chunk->count, expected.at("count").to_number<std::uint16_t>());
    EXPECT_EQ(stringOf(chunk->payload), bytesOfSample(expected.at("payload")));
  }
}

TEST(ChunkVectors, areWrittenAndPutTogetherAgain) {
  for (const auto& vector : vectorsOf("chunks.json", "message")) {
    SCOPED_TRACE(vector.name());
    Channels channels;
    const auto message = insertText(bytesOfSample(vector.at("text")));
    const auto frames = listOfBytes(vector.at("frames"));
    channels.send(message);
    EXPECT_TRUE(channels.sent("tevanto") == frames);
    for (const auto& frame : frames) channels.take("tevanto", frame);
    EXPECT_TRUE(channels.messages() == std::vector{message});
  }
}

TEST(ChunkVectors, areReadAsStreams) {
  for (const auto& vector : vectorsOf("chunks.json", "stream")) {
    SCOPED_TRACE(vector.name());
    Channels channels;
    for (const auto& step : vector.at("frames").as_array()) {
      channels.waitUntil(step.at("at").to_number<double>());
      channels.take("tevanto", bytesOfSample(step.at("bytes")));
    }
    EXPECT_EQ(channels.messages(), messagesOf(vector.value()));
  }
}

}  // namespace
}  // namespace tevanto::test
