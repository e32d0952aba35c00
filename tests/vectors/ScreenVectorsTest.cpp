#include <gtest/gtest.h>

#include <algorithm>
#include <boost/json/value.hpp>
#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "screen/wire/FramedConnection.h"
#include "screen/wire/ScreenPacketReceiver.h"
#include "screen/wire/ScreenPackets.h"
#include "screen/wire/ScreenStreamHello.h"
#include "screen/wire/ScreenStreamMessage.h"
#include "tests/support/fakes/FakeTcpConnection.h"
#include "tests/support/fakes/ManualQueue.h"
#include "tests/support/peers/CutPackets.h"
#include "tests/vectors/Vectors.h"

namespace tevanto::test {
namespace {

namespace json = boost::json;

ScreenStreamHello helloOf(const json::value& value) {
  const auto& members = value.as_object();
  return {textOf(members.at("token")), members.at("width").as_int64(), members.at("height").as_int64(),
          members.at("prefersLowBandwidth").as_bool()};
}

// ---- Messages

TEST(ScreenMessageVectors, holdHellos) {
  for (const auto& vector : vectorsOf("screen-messages.json", "hello")) {
    SCOPED_TRACE(vector.name());
    const auto bytes = vector.bytes();
    EXPECT_EQ(screenMessageType(spanOf(bytes)), ScreenMessageType::hello);
    const auto hello = decodeHello(spanOf(bytes).subspan(1));
    ASSERT_EQ(hello.has_value(), vector.result() != "ignored");
    if (hello) {
      EXPECT_EQ(*hello, helloOf(vector.value()));
    }
    if (hello && !vector.isReadOnly()) {
      EXPECT_EQ(stringOf(helloMessage(*hello)), bytes);
    }
  }
}

TEST(ScreenMessageVectors, holdMessagesOfOneByte) {
  for (const auto& [kind, type] : {std::pair("keyFrameRequest", ScreenMessageType::keyframeRequest),
                                   std::pair("stop", ScreenMessageType::stop)}) {
    for (const auto& vector : vectorsOf("screen-messages.json", kind)) {
      SCOPED_TRACE(vector.name());
      const auto bytes = vector.bytes();
      EXPECT_EQ(screenMessageType(spanOf(bytes)), type);
      if (!vector.isReadOnly()) {
        EXPECT_EQ(stringOf(screenMessage(type)), bytes);
      }
    }
  }
}

TEST(ScreenMessageVectors, holdParameterSets) {
  for (const auto& vector : vectorsOf("screen-messages.json", "parameterSets")) {
    SCOPED_TRACE(vector.name());
    const auto bytes = vector.bytes();
    EXPECT_EQ(screenMessageType(spanOf(bytes)), ScreenMessageType::parameterSets);
    const auto sets = decodeParameterSets(spanOf(bytes).subspan(1));
    ASSERT_EQ(sets.has_value(), vector.result() != "ignored");
    if (!sets) continue;
    const auto& expected = vector.value().as_object();
    EXPECT_TRUE(stringOf(sets->sps) == bytesOfSample(expected.at("sps")));
    EXPECT_TRUE(stringOf(sets->pps) == bytesOfSample(expected.at("pps")));
    if (!vector.isReadOnly()) {
      EXPECT_TRUE(stringOf(parameterSetMessage(sets->sps, sets->pps)) == bytes);
    }
  }
}

TEST(ScreenMessageVectors, holdVideoFrames) {
  for (const auto& vector : vectorsOf("screen-messages.json", "videoFrame")) {
    SCOPED_TRACE(vector.name());
    const auto bytes = vector.bytes();
    EXPECT_EQ(screenMessageType(spanOf(bytes)), ScreenMessageType::videoFrame);
    const auto frame = decodeVideoFrame(spanOf(bytes).subspan(1));
    ASSERT_EQ(frame.has_value(), vector.result() != "ignored");
    if (!frame) continue;
    EXPECT_EQ(frame->isKeyframe, vector.value().at("isKeyFrame").as_bool());
    EXPECT_EQ(stringOf(frame->data), bytesOfSample(vector.value().at("data")));
    if (!vector.isReadOnly()) {
      EXPECT_EQ(stringOf(videoFrameMessage(frame->data, frame->isKeyframe)), bytes);
    }
  }
}

TEST(ScreenMessageVectors, holdUnknownMessages) {
  for (const auto& vector : vectorsOf("screen-messages.json", "unknown")) {
    SCOPED_TRACE(vector.name());
    const auto bytes = vector.bytes();
    EXPECT_FALSE(screenMessageType(spanOf(bytes)));
  }
}

// ---- Frames

/// A screen connection with another end that the test plays.
class Framed {
 public:
  Framed() {
    connection_->onData = [this](std::span<const std::byte> payload) {
      received.push_back(stringOf(payload));
    };
    queue_->sync([&] { connection_->start(queue_); });
    queue_->runPending();
  }
  /// On its queue, or what is left there would keep the connection.
  ~Framed() {
    queue_->sync([&] { connection_.reset(); });
    queue_->runPending();
  }
  Framed(const Framed&) = delete;
  Framed& operator=(const Framed&) = delete;

  void take(std::string_view stream, std::size_t step) {
    for (; !stream.empty(); stream.remove_prefix(std::min(step, stream.size()))) {
      peer_->send(stream.substr(0, step));
      queue_->runPending();
    }
  }
  std::string send(const std::vector<std::string>& payloads) {
    for (const auto& payload : payloads) {
      const auto bytes = spanOf(payload);
      connection_->send(std::make_shared<const std::vector<std::byte>>(bytes.begin(), bytes.end()), 0, true);
      queue_->runPending();
    }
    return peer_->received;
  }
  bool isOpen() const { return !peer_->isEnded(); }

  std::vector<std::string> received;

 private:
  std::shared_ptr<ManualQueue> queue_ = std::make_shared<ManualQueue>("framed");
  std::shared_ptr<FakeTcpPeer> peer_ = std::make_shared<FakeTcpPeer>();
  std::shared_ptr<FramedConnection> connection_ =
      std::make_shared<FramedConnection>(std::make_unique<FakeTcpConnection>(peer_));
};

TEST(FrameVectors, areReadHoweverTheyAreCut) {
  for (const auto& vector : vectorsOf("frames.json", "stream")) {
    SCOPED_TRACE(vector.name());
    const auto stream = vector.bytes();
    // A large stream byte by byte would take minutes and show no more.
    const auto smallest = std::max<std::size_t>(1, stream.size() / 256);
    for (const std::size_t step : {smallest, smallest * 7, std::size_t{65'536}}) {
      Framed framed;
      framed.take(stream, step);
      EXPECT_TRUE(framed.received == listOfBytes(vector.value())) << "in pieces of " << step;
      EXPECT_EQ(framed.isOpen(), vector.result() != "connection closed");
    }
  }
}

TEST(FrameVectors, areWritten) {
  for (const auto& vector : vectorsOf("frames.json", "stream")) {
    if (vector.isReadOnly()) continue;
    SCOPED_TRACE(vector.name());
    Framed framed;
    EXPECT_TRUE(framed.send(listOfBytes(vector.value())) == vector.bytes());
  }
}

// ---- Packets

std::vector<std::string> packetsOf(const Vector& vector) {
  const auto message = bytesOfSample(vector.value().at("message"));
  const auto packetID = vector.value().at("packetID").to_number<std::uint32_t>();
  std::vector<std::string> texts;
  for (const auto& packet : packets(spanOf(message), packetID)) texts.push_back(stringOf(packet));
  return texts;
}

TEST(PacketVectors, areCut) {
  for (const auto& vector : vectorsOf("packets.json", "message")) {
    SCOPED_TRACE(vector.name());
    const auto cut = packetsOf(vector);
    EXPECT_EQ(cut, listOfBytes(vector.at("packets")));
    EXPECT_EQ(cut.empty(), vector.result() == "not sent");
  }
}

TEST(PacketVectors, arePutTogetherAgain) {
  for (const auto& vector : vectorsOf("packets.json", "message")) {
    if (!vector.result().empty()) continue;
    SCOPED_TRACE(vector.name());
    ScreenPacketReceiver receiver;
    std::string message;
    for (const auto& packet : listOfBytes(vector.at("packets"))) {
      EXPECT_EQ(message, "") << "before the last packet";
      if (const auto whole = receiver.add(spanOf(packet), {})) message = stringOf(*whole);
    }
    EXPECT_EQ(message, bytesOfSample(vector.value().at("message")));
  }
}

TEST(PacketVectors, endAtTheLongestMessage) {
  for (const auto& vector : vectorsOf("packets.json", "edges")) {
    SCOPED_TRACE(vector.name());
    const auto cut = packetsOf(vector);
    ASSERT_EQ(cut.size(), vector.at("count").to_number<std::size_t>());
    EXPECT_EQ(cut.front(), bytesOfSample(vector.at("first")));
    EXPECT_EQ(cut.back(), bytesOfSample(vector.at("last")));
  }
}

TEST(PacketVectors, areReadOneByOne) {
  for (const auto& vector : vectorsOf("packets.json", "packet")) {
    SCOPED_TRACE(vector.name());
    const auto bytes = vector.bytes();
    const auto packet = parse(spanOf(bytes));
    ASSERT_EQ(packet.has_value(), vector.result() != "ignored");
    if (!packet) continue;
    const auto& expected = vector.value().as_object();
    EXPECT_EQ(packet->packetID, expected.at("packetID").to_number<std::uint32_t>());
    EXPECT_EQ(packet->index, expected.at("index").to_number<std::uint16_t>());
    EXPECT_EQ(packet->count, expected.at("count").to_number<std::uint16_t>());
    EXPECT_EQ(stringOf(packet->payload), bytesOfSample(expected.at("payload")));
  }
}

TEST(PacketVectors, areReadAsStreams) {
  const SerialQueue::TimePoint start{std::chrono::hours(1)};
  for (const auto& vector : vectorsOf("packets.json", "stream")) {
    SCOPED_TRACE(vector.name());
    ScreenPacketReceiver receiver;
    std::vector<std::string> received;
    for (const auto& step : vector.at("packets").as_array()) {
      const std::chrono::duration<double> at(step.at("at").to_number<double>());
      const auto packet = bytesOfSample(step.at("bytes"));
      const auto now = start + std::chrono::duration_cast<SerialQueue::Duration>(at);
      if (const auto message = receiver.add(spanOf(packet), now)) received.push_back(stringOf(*message));
    }
    EXPECT_EQ(received, listOfBytes(vector.value()));
  }
}

}  // namespace
}  // namespace tevanto::test
