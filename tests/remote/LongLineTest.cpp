#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <string>
#include <thread>

#include "core/queue/EventLoop.h"
#include "net/tcp/AsioTcpListenerFactory.h"
#include "remote/LineProtocolConnection.h"
#include "tests/support/peers/RawSocket.h"
#include "tests/support/programs/Eventually.h"
#include "tests/support/programs/ProcessMemory.h"

namespace tevanto {
namespace {

constexpr std::size_t kLongLine = 256 * 1024 * 1024;
/// What everything besides the line may take meanwhile.
constexpr std::size_t kRest = 16 * 1024 * 1024;

class LongLineTest : public testing::Test {
 protected:
  void SetUp() override {
    listener_ = std::move(AsioTcpListenerFactory(loop_, ListenScope::loopback).listen(0)).value();
    listener_->setConnectionHandler([this](std::unique_ptr<TcpConnection> connection) {
      line_ = std::make_shared<LineProtocolConnection>(std::move(connection));
      line_->onMessage = [this](const RemoteMessage& message) {
        lastLength_ = message.message ? message.message->size() : 0;
        ++messages_;
      };
      line_->start(queue_);
    });
    listener_->start(queue_);
    peer_ = test::RawSocket::connectTo(listener_->port());
  }

  void TearDown() override {
    queue_->sync([&] {
      line_.reset();
      listener_.reset();
    });
  }

  /// Sends `size` bytes without holding them.
  void sendFiller(std::size_t size) {
    const std::string part(1024 * 1024, 'x');
    for (; size > 0; size -= std::min(size, part.size()))
      ASSERT_TRUE(peer_.send(std::string_view(part).substr(0, size)));
  }

  std::shared_ptr<EventLoop> loop_ = EventLoop::background(1);
  std::shared_ptr<SerialQueue> queue_ = loop_->makeQueue("line");
  std::unique_ptr<TcpListener> listener_;
  std::shared_ptr<LineProtocolConnection> line_;
  test::RawSocket peer_;
  std::atomic<int> messages_ = 0;
  std::atomic<std::size_t> lastLength_ = 0;
};

// Looking at every byte again with each read would take hours; the time limit of the test says whether it
// does.
TEST_F(LongLineTest, takesALineOf256MiBInNoMoreThanTwiceItsMemoryAndGivesItBack) {
  const auto before = test::residentBytes();
  test::resetPeak();
  sendFiller(kLongLine);
  ASSERT_TRUE(peer_.send("\n{\"type\":\"next\"}\n"));
  ASSERT_TRUE(test::eventually([&] { return messages_ == 1; }));
  EXPECT_GE(test::peakResidentBytes() + test::kResidentSlack, before + kLongLine)
      << "the line was really held";
  EXPECT_LE(test::peakResidentBytes(), before + 2 * kLongLine);
  EXPECT_LE(test::residentBytes(), before + kRest);
  RecordProperty("peakMiB", static_cast<int>((test::peakResidentBytes() - before) / (1024 * 1024)));
}

TEST_F(LongLineTest, deliversAMessageOf256MiB) {
  ASSERT_TRUE(peer_.send("{\"type\":\"long\",\"message\":\""));
  sendFiller(kLongLine);
  ASSERT_TRUE(peer_.send("\"}\n"));
  ASSERT_TRUE(test::eventually([&] { return messages_ == 1; }));
  EXPECT_EQ(lastLength_, kLongLine);
}

}  // namespace
}  // namespace tevanto
