#include "remote/LineProtocolConnection.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "tests/support/fakes/FakeTcpConnection.h"
#include "tests/support/fakes/ManualQueue.h"

namespace tevanto {
namespace {

std::string line(const std::string& type) { return "{\"type\":\"" + type + "\"}\n"; }

class LineProtocolConnectionTest : public testing::Test {
 protected:
  void SetUp() override {
    line_->onMessage = [this](const RemoteMessage& message) {
      EXPECT_TRUE(queue_->isCurrent());
      types_.push_back(message.type);
      if (onMessage_) onMessage_();
    };
    line_->onChannelState = [this](ChannelState state) {
      channelStates_.push_back(state);
      trace_.push_back("channel " + std::to_string(static_cast<int>(state)));
    };
    line_->onStateChange = [this](ConnectionState state) {
      states_.push_back(state);
      trace_.push_back("raw " + std::to_string(static_cast<int>(state)));
    };
  }

  void start() {
    queue_->sync([&] { line_->start(queue_); });
    queue_->runPending();
  }
  void deliver(const std::string& bytes) {
    peer_->send(bytes);
    queue_->runPending();
  }

  std::shared_ptr<test::ManualQueue> queue_ = std::make_shared<test::ManualQueue>("line");
  std::shared_ptr<test::FakeTcpPeer> peer_ = std::make_shared<test::FakeTcpPeer>();
  std::shared_ptr<LineProtocolConnection> line_ =
      std::make_shared<LineProtocolConnection>(std::make_unique<test::FakeTcpConnection>(peer_));
  std::vector<std::string> types_;
  std::vector<ChannelState> channelStates_;
  std::vector<ConnectionState> states_;
  std::vector<std::string> trace_;
  std::function<void()> onMessage_;
};

using Types = std::vector<std::string>;

TEST_F(LineProtocolConnectionTest, deliversTheLinesOfOneReadInOrder) {
  start();
  deliver(line("one") + line("two"));
  EXPECT_EQ(types_, (Types{"one", "two"}));
}

TEST_F(LineProtocolConnectionTest, deliversAMessageOnceWhenItsLineFeedArrives) {
  start();
  deliver("{\"type\":");
  deliver("\"one\"");
  deliver("}");
  EXPECT_TRUE(types_.empty());
  deliver("\n");
  EXPECT_EQ(types_, Types{"one"});
}

TEST_F(LineProtocolConnectionTest, deliversTheSameAtEverySplit) {
  const std::string text = line("one") + "\n" + "not json\n" +
                           "{\"type\":\"two\",\"message\":\"\xC3\xA9\\n\"}\r\n" + "{\"type\":\"three\"} \n" +
                           "{\"type\":\"unfinished\"}";
  start();
  for (std::size_t split = 0; split <= text.size(); ++split) {
    SetUp();
    types_.clear();
    deliver(text.substr(0, split));
    deliver(text.substr(split));
    EXPECT_EQ(types_, (Types{"one", "two", "three"})) << split;
    deliver("\n");
    EXPECT_EQ(types_.back(), "unfinished") << split;
  }
}

TEST_F(LineProtocolConnectionTest, deliversTheSameByteByByte) {
  start();
  for (const char byte : line("one") + line("two")) deliver(std::string(1, byte));
  EXPECT_EQ(types_, (Types{"one", "two"}));
}

TEST_F(LineProtocolConnectionTest, skipsInvalidLinesBetweenValidOnes) {
  start();
  deliver(line("one") + "{\"type\":\n\n\n[]\n{\"type\":1}\n\xFF\xFE\n{\"ok\":true}\n" + line("two"));
  EXPECT_EQ(types_, (Types{"one", "two"}));
  EXPECT_EQ(peer_->received, "");
  EXPECT_FALSE(peer_->isEnded());
  EXPECT_EQ(channelStates_, std::vector<ChannelState>{ChannelState::ready});
}

TEST_F(LineProtocolConnectionTest, neverDeliversAFinalLineWithoutALineFeed) {
  start();
  peer_->send(line("one") + "{\"type\":\"two\"}");
  peer_->endStream();
  queue_->runPending();
  EXPECT_EQ(types_, Types{"one"});
  EXPECT_EQ(channelStates_, (std::vector<ChannelState>{ChannelState::ready, ChannelState::failed}));
}

TEST_F(LineProtocolConnectionTest, deliversLinesOfAnyLength) {
  start();
  for (const std::size_t length : {4094u, 4095u, 4096u, 4097u, 8192u, 100'000u, 1'000'000u}) {
    types_.clear();
    const std::string type(length - 11, 'x');
    deliver(line(type) + line("next"));
    EXPECT_EQ(types_, (Types{type, "next"})) << length;
  }
}

TEST_F(LineProtocolConnectionTest, passesEveryStateOnAndThenItsMeaning) {
  start();
  peer_->fail();
  queue_->runPending();
  EXPECT_EQ(trace_, (std::vector<std::string>{"raw 2", "raw 3", "channel 0", "raw 4", "channel 2"}));
  EXPECT_EQ(static_cast<int>(ChannelState::ready), 0);
  EXPECT_EQ(static_cast<int>(ChannelState::interrupted), 1);
  EXPECT_EQ(static_cast<int>(ChannelState::failed), 2);
}

TEST_F(LineProtocolConnectionTest, reportsItsOwnCloseAsFailedOnce) {
  start();
  queue_->sync([&] {
    line_->close();
    line_->close();
  });
  queue_->runPending();
  EXPECT_EQ(channelStates_, (std::vector<ChannelState>{ChannelState::ready, ChannelState::failed}));
  EXPECT_EQ(states_.back(), ConnectionState::cancelled);
  deliver(line("late"));
  EXPECT_TRUE(types_.empty());
}

TEST_F(LineProtocolConnectionTest, reportsItsCloseEvenWhenItsOwnerLetsGoAtOnce) {
  start();
  queue_->sync([&] {
    line_->close();
    line_.reset();
  });
  EXPECT_EQ(channelStates_, std::vector<ChannelState>{ChannelState::ready});
  queue_->runPending();
  EXPECT_EQ(channelStates_, (std::vector<ChannelState>{ChannelState::ready, ChannelState::failed}));
  EXPECT_TRUE(peer_->isReleased());
}

TEST_F(LineProtocolConnectionTest, deliversNothingAfterItWasClosedFromItsMessageHandler) {
  start();
  onMessage_ = [&] { line_->close(); };
  deliver(line("one") + line("two"));
  EXPECT_EQ(types_, Types{"one"});
  EXPECT_EQ(channelStates_, (std::vector<ChannelState>{ChannelState::ready, ChannelState::failed}));
}

TEST_F(LineProtocolConnectionTest, mayBeReleasedFromItsMessageHandler) {
  start();
  onMessage_ = [&] { line_.reset(); };
  deliver(line("one"));
  EXPECT_EQ(types_, Types{"one"});
  EXPECT_TRUE(peer_->isReleased());
  EXPECT_EQ(channelStates_, std::vector<ChannelState>{ChannelState::ready});
}

TEST_F(LineProtocolConnectionTest, mayBeClosedAndReleasedFromItsMessageHandler) {
  start();
  onMessage_ = [&] {
    line_->close();
    line_.reset();
  };
  deliver("{\"type\":");
  deliver("\"one\"}\n" + line("two"));
  EXPECT_EQ(types_, Types{"one"});
  EXPECT_TRUE(peer_->isReleased());
}

TEST_F(LineProtocolConnectionTest, dropsEventsWithoutACallback) {
  line_->onMessage = nullptr;
  line_->onChannelState = nullptr;
  line_->onStateChange = nullptr;
  start();
  deliver(line("one"));
  queue_->sync([&] { line_->close(); });
  queue_->runPending();
  EXPECT_TRUE(peer_->isEnded());
}

TEST_F(LineProtocolConnectionTest, sendsEachMessageAsOneLine) {
  start();
  queue_->sync([&] {
    line_->send({.type = "ack", .ok = true});
    line_->send({.type = "ack", .ok = false, .message = "two\nlines"});
  });
  queue_->runPending();
  EXPECT_EQ(peer_->received,
            "{\"type\":\"ack\",\"ok\":true}\n{\"type\":\"ack\",\"ok\":false,\"message\":\"two\\nlines\"}\n");
}

TEST_F(LineProtocolConnectionTest, dropsAMessageThatCannotBeEncoded) {
  start();
  queue_->sync([&] {
    line_->send({.type = "systemState", .volume = std::nan("")});
    line_->send({.type = "ack", .message = "\xFF"});
    line_->send({.type = "after"});
  });
  queue_->runPending();
  EXPECT_EQ(peer_->received, line("after"));
}

TEST_F(LineProtocolConnectionTest, goesOnReadingWhileItsReplyWaitsForThePeer) {
  start();
  peer_->window = 0;
  queue_->sync([&] { line_->send({.type = "ack"}); });
  deliver(line("one"));
  EXPECT_EQ(types_, Types{"one"});
  queue_->sync([&] { peer_->openWindow(1000); });
  EXPECT_EQ(peer_->received, line("ack"));
}

TEST(LineBuffer, holdsOnlyTheLineThatIsNotComplete) {
  LineBuffer buffer;
  std::vector<std::string> lines;
  const auto take = [&](std::string_view text) {
    return buffer.feed(std::as_bytes(std::span(text.data(), text.size())), [&](std::string_view one) {
      lines.emplace_back(one);
      return true;
    });
  };
  EXPECT_TRUE(take("a\nbc"));
  EXPECT_EQ(buffer.size(), 2u);
  EXPECT_TRUE(take(""));
  EXPECT_TRUE(take("d\n\ne"));
  EXPECT_EQ(buffer.size(), 1u);
  EXPECT_EQ(lines, (std::vector<std::string>{"a", "bcd", ""}));
}

TEST_F(LineProtocolConnectionTest, closesWhenALineExceedsTheMaximum) {
  const std::string longest = line("one");  // and its line feed, which does not count
  for (const std::size_t step : {std::size_t{1}, std::size_t{5}, std::size_t{4096}}) {
    peer_ = std::make_shared<test::FakeTcpPeer>();
    line_ = std::make_shared<LineProtocolConnection>(std::make_unique<test::FakeTcpConnection>(peer_),
                                                     longest.size() - 1);
    SetUp();
    types_.clear();
    start();
    const std::string text = longest + line("four") + longest;
    for (std::size_t at = 0; at < text.size(); at += step) deliver(text.substr(at, step));
    EXPECT_EQ(types_, Types{"one"}) << "in pieces of " << step;
    EXPECT_TRUE(peer_->isEnded());
  }
}

}  // namespace
}  // namespace tevanto
