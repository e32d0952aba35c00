#include <gtest/gtest.h>

#include <algorithm>
#include <boost/json/value.hpp>
#include <memory>
#include <string>
#include <vector>

#include "remote/LineProtocolConnection.h"
#include "remote/message/RemoteMessage.h"
#include "remote/message/RemoteMessageCodec.h"
#include "tests/support/fakes/FakeTcpConnection.h"
#include "tests/support/fakes/ManualQueue.h"
#include "tests/vectors/Vectors.h"

namespace tevanto::test {
namespace {

std::string encoded(const RemoteMessage& message) {
  std::string text;
  return encodeRemoteMessage(message, text) ? text : "cannot be encoded";
}

TEST(MessageVectors, areRead) {
  for (const auto& vector : vectorsOf("messages.json", "message")) {
    SCOPED_TRACE(vector.name());
    const auto message = decodeRemoteMessage(vector.bytes());
    if (vector.result() == "ignored") {
      EXPECT_FALSE(message);
      continue;
    }
    ASSERT_TRUE(message);
    EXPECT_EQ(*message, messageOf(vector.value())) << encoded(*message);
  }
}

TEST(MessageVectors, areWritten) {
  for (const auto& vector : vectorsOf("messages.json", "message")) {
    if (vector.isReadOnly() || !vector.result().empty()) continue;
    SCOPED_TRACE(vector.name());
    EXPECT_EQ(encoded(messageOf(vector.value())), vector.bytes());
  }
}

TEST(MessageVectors, digestLists) {
  for (const auto& vector : vectorsOf("messages.json", "appsHash")) {
    SCOPED_TRACE(vector.name());
    const auto list = messageOf({{"type", "appList"}, {"apps", vector.value()}});
    EXPECT_EQ(appsHash(*list.apps), vector.bytes());
  }
}

/// A line connection with a phone that the test plays.
class Line {
 public:
  Line() {
    connection_->onMessage = [this](RemoteMessage message) { received.push_back(std::move(message)); };
    queue_->sync([&] { connection_->start(queue_); });
    queue_->runPending();
  }
  /// What the phone sends, in pieces of at most `step` bytes.
  void take(std::string_view stream, std::size_t step) {
    for (; !stream.empty(); stream.remove_prefix(std::min(step, stream.size()))) {
      peer_->send(stream.substr(0, step));
      queue_->runPending();
    }
  }
  std::string send(const std::vector<RemoteMessage>& messages) {
    queue_->sync([&] {
      for (const auto& message : messages) connection_->send(message);
    });
    queue_->runPending();
    return peer_->received;
  }
  bool isOpen() const { return !peer_->isEnded(); }

  std::vector<RemoteMessage> received;

 private:
  std::shared_ptr<ManualQueue> queue_ = std::make_shared<ManualQueue>("line");
  std::shared_ptr<FakeTcpPeer> peer_ = std::make_shared<FakeTcpPeer>();
  std::shared_ptr<LineProtocolConnection> connection_ =
      std::make_shared<LineProtocolConnection>(std::make_unique<FakeTcpConnection>(peer_));
};

TEST(LineVectors, areReadHoweverTheyAreCut) {
  for (const auto& vector : vectorsOf("lines.json", "stream")) {
    SCOPED_TRACE(vector.name());
    const auto expected = messagesOf(vector.value());
    for (const std::size_t step : {std::size_t{1}, std::size_t{7}, std::size_t{4096}}) {
      Line line;
      line.take(vector.bytes(), step);
      EXPECT_EQ(line.received, expected) << "in pieces of " << step;
      EXPECT_TRUE(line.isOpen());
    }
  }
}

TEST(LineVectors, areWritten) {
  for (const auto& vector : vectorsOf("lines.json", "stream")) {
    if (vector.isReadOnly()) continue;
    SCOPED_TRACE(vector.name());
    Line line;
    EXPECT_EQ(line.send(messagesOf(vector.value())), vector.bytes());
  }
}

}  // namespace
}  // namespace tevanto::test
