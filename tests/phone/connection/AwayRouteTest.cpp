#include "phone/connection/AwayRoute.h"

#include <gmock/gmock.h>
#include <poll.h>

#include <atomic>

#include "core/queue/EventLoop.h"
#include "remote/message/RemoteMessageCodec.h"
#include "tests/support/fakes/FakeScreenTransport.h"

namespace tevanto::phone {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

/// A transport whose other side the test plays. Main queue only, but for what it has recorded.
class FakeMessages final : public MessageChannel {
 public:
  void send(const RemoteMessage& message) override { sent.push_back(message.type); }
  void close() override {
    isClosed = true;
    onClose(onChannelState);
  }

  std::vector<std::string> sent;
  bool isClosed = false;
  std::function<void(const std::function<void(ChannelState)>& report)> onClose = [](const auto& report) {
    if (report) report(ChannelState::failed);
  };
};

class AwayRouteTest : public testing::Test {
 protected:
  AwayRoute route(std::chrono::milliseconds timeout = 30s) {
    return {{queue_, [this](const std::string& room) { return makeTransport(room); }, timeout_},
            "the room",
            timeout};
  }

  AwayTransport makeTransport(const std::string& room) {
    EXPECT_EQ(room, "the room");
    messages_.push_back(std::make_shared<FakeMessages>());
    screens_.push_back(std::make_shared<test::FakeScreenTransport>());
    AwayTransport made{messages_.back(), screens_.back(), [this, number = messages_.size()] {
                         if (onStart) onStart(number);
                       }};
    made.isRelayed = [this] { return isRelayed_; };
    made.goesByRecords = [this] { return goesByRecords_; };
    return made;
  }

  /// What the transport made last reports.
  void report(ChannelState state) {
    queue_->sync([&] { messages_.back()->onChannelState(state); });
  }

  std::shared_ptr<EventLoop> loop_ = EventLoop::background(1);
  std::shared_ptr<SerialQueue> queue_ = loop_->makeQueue("main");
  AwayChannel::Timeouts timeout_;
  std::optional<bool> isRelayed_;
  bool goesByRecords_ = false;
  std::vector<std::shared_ptr<FakeMessages>> messages_;
  std::vector<std::shared_ptr<test::FakeScreenTransport>> screens_;
  std::function<void(std::size_t number)> onStart = [this](std::size_t) {
    queue_->async([this] { messages_.back()->onChannelState(ChannelState::ready); });
  };
};

LineChannel::Deadline soon() { return std::chrono::steady_clock::now() + 30s; }

TEST_F(AwayRouteTest, linesAreMessagesOnTheWay) {
  auto away = route();
  const auto lines = away.connect(*away.find(CompanionFinder::For::command), {});
  ASSERT_TRUE(lines) << lines.trouble().message;
  EXPECT_TRUE((*lines)->send("{\"type\":\"sessionHello\"}\nnothing\n{\"type\":\"command\"}\n", soon()));
  EXPECT_THAT(messages_[0]->sent, ElementsAre("sessionHello", "command"));
  RemoteMessage reply;
  reply.type = "ack";
  reply.ok = true;
  queue_->sync([&] { messages_[0]->onMessage(reply); });
  std::string line;
  ASSERT_EQ((*lines)->receive(line, soon()), LineChannel::Received::line);
  EXPECT_EQ(decodeRemoteMessage(line)->ok, true);
  EXPECT_EQ((*lines)->receive(line, std::chrono::steady_clock::now()), LineChannel::Received::nothingYet);
}

TEST_F(AwayRouteTest, linesAndScreenShareOneLink) {
  auto away = route();
  const Target target{{{}, 0}, "the room"};
  const auto lines = away.connect(target, {});
  const auto screen = away.connectScreen(target, {});
  ASSERT_TRUE(lines && screen);
  EXPECT_EQ(messages_.size(), 1U);
  EXPECT_TRUE((*screen)->send(std::as_bytes(std::span("hello", 5))));
  EXPECT_THAT(screens_[0]->payloads, ElementsAre("hello"));
  queue_->sync([&] { screens_[0]->onScreenData(std::as_bytes(std::span("frame", 5))); });
  std::vector<std::string> received;
  const auto outcome = (*screen)->receive([&](auto message) { received.push_back(test::textOf(message)); });
  EXPECT_EQ(outcome, ScreenChannel::Received::open);
  EXPECT_THAT(received, ElementsAre("frame"));
  EXPECT_EQ((*screen)->receivedBytes(), 5U);
}

TEST_F(AwayRouteTest, ridesOutAnInterruptionAndEndsWithAFailure) {
  auto away = route();
  const Target target{{{}, 0}, "the room"};
  const auto lines = away.connect(target, {});
  ASSERT_TRUE(lines);
  std::string line;
  report(ChannelState::interrupted);
  EXPECT_TRUE((*lines)->send("{\"type\":\"x\"}\n", soon()));
  EXPECT_EQ((*lines)->receive(line, std::chrono::steady_clock::now()), LineChannel::Received::nothingYet);
  report(ChannelState::failed);
  EXPECT_EQ((*lines)->receive(line, soon()), LineChannel::Received::closed);
  EXPECT_FALSE((*lines)->send("{\"type\":\"x\"}\n", soon()));
  ASSERT_TRUE(away.connect(target, {}));
  EXPECT_EQ(messages_.size(), 2U) << "the next connection is a new link";
}

TEST_F(AwayRouteTest, callsAgainUntilTheCompanionAnswers) {
  onStart = [this](std::size_t number) {
    queue_->async([this, number] {
      messages_[number - 1]->onChannelState(number < 2 ? ChannelState::failed : ChannelState::ready);
    });
  };
  auto away = route();
  EXPECT_TRUE(away.connect({{{}, 0}, "the room"}, {}));
  EXPECT_EQ(messages_.size(), 2U);
  EXPECT_TRUE(messages_[0]->isClosed) << "nothing of an attempt remains";
}

TEST_F(AwayRouteTest, saysWhenNobodyAnswers) {
  onStart = nullptr;
  auto away = route(50ms);
  const auto lines = away.connect({{{}, 0}, "the room"}, {});
  ASSERT_FALSE(lines);
  EXPECT_EQ(lines.trouble().code, ExitCode::notFound);
  EXPECT_THAT(lines.trouble().message, testing::HasSubstr("tevanto doctor"));
  EXPECT_TRUE(messages_[0]->isClosed);
}

TEST_F(AwayRouteTest, endsACallWhenTheUserGivesUp) {
  onStart = nullptr;
  auto away = route(std::chrono::hours(1));
  EXPECT_FALSE(away.connect({{{}, 0}, "the room"}, [] { return true; }));
}

TEST_F(AwayRouteTest, leavesATransportThatMeetsNobodyForAnother) {
  timeout_.usual = 1ms;
  onStart = [this](std::size_t number) {
    if (number > 1) queue_->async([this] { messages_[1]->onChannelState(ChannelState::ready); });
  };
  auto away = route();
  EXPECT_TRUE(away.connect({{{}, 0}, "the room"}, {}));
  EXPECT_EQ(messages_.size(), 2U);
}

TEST_F(AwayRouteTest, givesRecordsInTheCloudMoreTime) {
  timeout_.usual = 1ms;
  goesByRecords_ = true;
  int glances = 0;
  onStart = [](std::size_t) {};
  auto away = route();
  // The companion comes when the usual time is long over.
  EXPECT_TRUE(away.connect({{{}, 0}, "the room"}, [&] {
    if (++glances == 2) queue_->async([this] { messages_[0]->onChannelState(ChannelState::ready); });
    return false;
  }));
  EXPECT_EQ(messages_.size(), 1U);
}

TEST_F(AwayRouteTest, tellsTheRouteOnceItIsKnown) {
  auto away = route();
  EXPECT_EQ(away.route(), "unknown");
  const auto lines = away.connect({{{}, 0}, "the room"}, {});
  ASSERT_TRUE(lines);
  EXPECT_EQ(away.route(), "unknown");
  isRelayed_ = false;
  EXPECT_EQ(away.route(), "direct");
  isRelayed_ = true;
  EXPECT_EQ(away.route(), "TURN relay");
}

TEST_F(AwayRouteTest, theLinkEndsWithItsChannels) {
  auto away = route();
  {
    const auto lines = away.connect({{{}, 0}, "the room"}, {});
    ASSERT_TRUE(lines);
    EXPECT_FALSE(messages_[0]->isClosed);
  }
  queue_->sync([] {});  // a callback under way may have held it last
  EXPECT_TRUE(messages_[0]->isClosed);
}

TEST_F(AwayRouteTest, theEndOfALinkWaitsUntilTheCompanionHasBeenTold) {
  timeout_.closing = 60s;
  std::atomic<bool> isTold = false;
  Timer telling;
  auto away = route();
  {
    const auto lines = away.connect({{{}, 0}, "the room"}, {});
    ASSERT_TRUE(lines);
    queue_->sync([&] {
      messages_[0]->onClose = [&](const auto& report) {
        telling = queue_->asyncAfter(20ms, [&isTold, report] {
          isTold = true;
          report(ChannelState::failed);
        });
      };
    });
  }
  EXPECT_TRUE(isTold);
}

}  // namespace
}  // namespace tevanto::phone
