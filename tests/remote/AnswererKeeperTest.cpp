#include "remote/AnswererKeeper.h"

#include <gtest/gtest.h>

#include <utility>

#include "tests/support/fakes/FakeAwayTransport.h"
#include "tests/support/fakes/ManualQueue.h"

namespace tevanto {
namespace {

using namespace std::chrono_literals;
using test::FakeAwayTransport;

class AnswererKeeperTest : public testing::Test {
 protected:
  ~AnswererKeeperTest() override {
    keeper->stop();
    main->runPending();
  }

  void start() {
    keeper->start("ROOM");
    main->runPending();
  }
  void report(FakeAwayTransport& transport, ChannelState state) {
    main->async([&] { transport.onChannelState(state); });
    main->runPending();
  }
  void failLast() { report(*answerers.last(), ChannelState::failed); }

  std::shared_ptr<test::ManualQueue> main = std::make_shared<test::ManualQueue>("main");
  test::FakeAnswerers answerers;
  std::shared_ptr<test::RecordingScreenHost> screen = std::make_shared<test::RecordingScreenHost>();
  std::vector<std::pair<MessageChannel*, ChannelState>> states;
  std::vector<std::string> messages;
  std::shared_ptr<AnswererKeeper> keeper = std::make_shared<AnswererKeeper>(
      main, answerers.factory(),
      AnswererKeeper::Callbacks{[this](const std::shared_ptr<MessageChannel>& channel, ChannelState state) {
                                  states.emplace_back(channel.get(), state);
                                },
                                [this](const RemoteMessage& message) { messages.push_back(message.type); }});
};

TEST_F(AnswererKeeperTest, makesOneAnswererInTheRoomAndStartsIt) {
  keeper->setScreen(screen);
  start();
  start();
  EXPECT_EQ(answerers.rooms, std::vector<std::string>{"ROOM"});
  const auto transport = answerers.last();
  ASSERT_TRUE(transport);
  EXPECT_EQ(transport->starts, 1);
  EXPECT_EQ(screen->attached.lock(), transport->screen);
}

TEST_F(AnswererKeeperTest, passesOnStatesAndMessages) {
  start();
  const auto transport = answerers.last();
  report(*transport, ChannelState::ready);
  transport->onMessage({.type = "sessionHello"});
  report(*transport, ChannelState::interrupted);
  EXPECT_EQ(states,
            (std::vector<std::pair<MessageChannel*, ChannelState>>{
                {transport.get(), ChannelState::ready}, {transport.get(), ChannelState::interrupted}}));
  EXPECT_EQ(messages, std::vector<std::string>{"sessionHello"});
}

TEST_F(AnswererKeeperTest, replacesOneThatHasWaitedForTooLongAtOnce) {
  keeper->setScreen(screen);
  start();
  auto first = answerers.last();
  const std::weak_ptr<FakeAwayTransport> gone = first;
  const auto age = first->age;
  ASSERT_TRUE(age);
  main->async(age);
  main->runPending();
  EXPECT_EQ(first->closes, 1);
  EXPECT_EQ(answerers.rooms, (std::vector<std::string>{"ROOM", "ROOM"}));
  const auto second = answerers.last();
  ASSERT_TRUE(second);
  EXPECT_NE(first, second);
  EXPECT_EQ(second->starts, 1);
  EXPECT_EQ(screen->attached.lock(), second->screen);
  EXPECT_TRUE(states.empty());
  first.reset();
  EXPECT_TRUE(gone.expired());
  // The first one has no say any more.
  age();
  EXPECT_EQ(answerers.rooms.size(), 2U);
  // It was no failure: the next one comes as soon as ever.
  failLast();
  main->advance(1500ms);
  EXPECT_EQ(answerers.rooms.size(), 3U);
}

TEST_F(AnswererKeeperTest, replacesNoneOnceItHasStopped) {
  start();
  const auto age = answerers.last()->age;
  keeper->stop();
  main->runPending();
  age();
  EXPECT_EQ(answerers.rooms.size(), 1U);
}

TEST_F(AnswererKeeperTest, letsGoOfAFailedOneAndKeepsNothingOfIt) {
  keeper->setScreen(screen);
  start();
  auto transport = answerers.last();
  const std::weak_ptr<ScreenTransport> screenTransport = transport->screen;
  report(*transport, ChannelState::failed);
  EXPECT_EQ(transport->closes, 1);
  EXPECT_EQ(screen->detaches, 1);
  EXPECT_TRUE(screen->attached.expired());
  ASSERT_EQ(states.size(), 1u);
  EXPECT_EQ(states[0].second, ChannelState::failed);
  transport.reset();
  EXPECT_FALSE(answerers.last());
  EXPECT_TRUE(screenTransport.expired());
  EXPECT_EQ(main->pendingCount(), 1u) << "a timer is all there is";
}

TEST_F(AnswererKeeperTest, waitsLongerAfterEachFailureUpToThirtySeconds) {
  start();
  for (const auto delay : {1500ms, 3000ms, 6000ms, 12'000ms, 24'000ms, 30'000ms, 30'000ms, 30'000ms}) {
    SCOPED_TRACE(delay.count());
    const auto before = answerers.made.size();
    failLast();
    main->advance(delay - 1ms);
    EXPECT_EQ(answerers.made.size(), before);
    main->advance(1ms);
    ASSERT_EQ(answerers.made.size(), before + 1);
    EXPECT_EQ(answerers.last()->starts, 1);
  }
}

TEST_F(AnswererKeeperTest, waitsBrieflyAgainAfterASuccess) {
  start();
  for (int i = 0; i < 4; ++i) {
    failLast();
    main->advance(30s);
  }
  report(*answerers.last(), ChannelState::interrupted);  // no success
  report(*answerers.last(), ChannelState::ready);
  const auto before = answerers.made.size();
  failLast();
  main->advance(1500ms);
  EXPECT_EQ(answerers.made.size(), before + 1);
  failLast();
  main->advance(2999ms);
  EXPECT_EQ(answerers.made.size(), before + 1);
  main->advance(1ms);
  EXPECT_EQ(answerers.made.size(), before + 2);
}

TEST_F(AnswererKeeperTest, maybeStartedEarlyWhileItWaits) {
  start();
  failLast();
  start();
  EXPECT_EQ(answerers.made.size(), 2u);
  main->advance(1h);
  EXPECT_EQ(answerers.made.size(), 2u);
}

TEST_F(AnswererKeeperTest, triesAgainWhenNoneCanBeMade) {
  answerers.available = false;
  start();
  EXPECT_EQ(answerers.rooms.size(), 1u);
  main->advance(1500ms);
  EXPECT_EQ(answerers.rooms.size(), 2u);
  EXPECT_TRUE(states.empty());
  answerers.available = true;
  main->advance(3s);
  EXPECT_TRUE(answerers.last());
}

TEST_F(AnswererKeeperTest, hearsNothingOfAnEarlierOne) {
  start();
  const auto former = answerers.last();
  failLast();
  main->advance(1500ms);
  states.clear();
  report(*former, ChannelState::ready);
  report(*former, ChannelState::failed);
  former->onMessage({.type = "command"});
  EXPECT_TRUE(states.empty());
  EXPECT_TRUE(messages.empty());
  main->advance(1h);
  EXPECT_EQ(answerers.made.size(), 2u);
}

TEST_F(AnswererKeeperTest, dropsItsOwnChannelAsIfItHadFailed) {
  start();
  const auto transport = answerers.last();
  keeper->close(std::make_shared<FakeAwayTransport>());
  keeper->close(nullptr);
  EXPECT_EQ(transport->closes, 0);
  keeper->close(transport);
  EXPECT_EQ(transport->closes, 1);
  ASSERT_EQ(states.size(), 1u);
  EXPECT_EQ(states[0].second, ChannelState::failed);
  report(*transport, ChannelState::failed);  // its own echo of that
  EXPECT_EQ(states.size(), 1u);
  main->advance(1500ms);
  EXPECT_EQ(answerers.made.size(), 2u);
}

TEST_F(AnswererKeeperTest, stopsForGoodUntilItIsStarted) {
  start();
  const auto transport = answerers.last();
  keeper->stop();
  keeper->stop();
  EXPECT_EQ(transport->closes, 1);
  main->advance(1h);
  EXPECT_EQ(answerers.made.size(), 1u);
  EXPECT_TRUE(states.empty());
  start();
  EXPECT_EQ(answerers.made.size(), 2u);
  failLast();
  keeper->stop();
  main->advance(1h);
  EXPECT_EQ(answerers.made.size(), 2u);
}

TEST_F(AnswererKeeperTest, doesNothingOnceItIsGone) {
  start();
  const auto transport = answerers.last();
  failLast();
  keeper = std::make_shared<AnswererKeeper>(main, nullptr, AnswererKeeper::Callbacks{});
  main->advance(1h);
  EXPECT_EQ(answerers.made.size(), 1u);
  transport->onMessage({.type = "command"});
  transport->onChannelState(ChannelState::ready);
  EXPECT_TRUE(messages.empty());
}

TEST_F(AnswererKeeperTest, withoutAFactoryItKeepsNone) {
  keeper = std::make_shared<AnswererKeeper>(main, nullptr, AnswererKeeper::Callbacks{});
  start();
  EXPECT_EQ(main->pendingCount(), 0u);
}

}  // namespace
}  // namespace tevanto
