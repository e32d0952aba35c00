#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <future>
#include <string>
#include <thread>

#include "core/queue/EventLoop.h"
#include "platform/macos/values/network/ChannelCallbacks.h"
#include "platform/macos/values/network/PeerCallbacks.h"
#include "platform/macos/values/network/PeerStates.h"
#include "tests/support/fakes/FakeDataChannel.h"
#include "tests/support/fakes/ManualQueue.h"

// What an engine tells on threads of its own, on its way to whoever listens.

namespace tevanto {
namespace {

using test::FakeDataChannel;
using test::ManualQueue;
using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::byte> bytes(const std::string& text) {
  const auto span = std::as_bytes(std::span(text.data(), text.size()));
  return {span.begin(), span.end()};
}

class RecordingPeer final : public PeerConnectionObserver {
 public:
  void peerDidChangeIceConnectionState(IceConnectionState state) override { states.push_back(state); }
  void peerDidChangeIceGatheringState(IceGatheringState state) override { gathering.push_back(state); }
  void peerDidGenerateCandidate(const IceCandidate& candidate) override { candidates.push_back(candidate); }
  void peerDidOpenDataChannel(std::shared_ptr<DataChannel> channel) override {
    channels.push_back(channel->label());
  }

  std::vector<IceConnectionState> states;
  std::vector<IceGatheringState> gathering;
  std::vector<IceCandidate> candidates;
  std::vector<std::string> channels;
};

class RecordingChannel final : public DataChannel::Observer {
 public:
  void dataChannelDidChangeState(DataChannel&) override { states.push_back(callbacks->state()); }
  void dataChannelDidReceive(DataChannel& channel, std::span<const std::byte> message) override {
    messages.emplace_back(reinterpret_cast<const char*>(message.data()), message.size());
    if (onMessage) onMessage(channel);
  }

  ChannelCallbacks* callbacks = nullptr;
  std::vector<DataChannelState> states;
  std::vector<std::string> messages;
  std::function<void(DataChannel&)> onMessage;
};

class PeerCallbacksTest : public testing::Test {
 protected:
  const std::shared_ptr<ManualQueue> queue_ = std::make_shared<ManualQueue>("peer");
  std::shared_ptr<RecordingPeer> observer_ = std::make_shared<RecordingPeer>();
  const std::shared_ptr<PeerCallbacks> callbacks_ = std::make_shared<PeerCallbacks>(queue_, observer_);
};

TEST_F(PeerCallbacksTest, reachTheObserverOnTheQueueInTheirOrder) {
  callbacks_->iceConnectionStateChanged(IceConnectionState::checking);
  callbacks_->iceGatheringStateChanged(IceGatheringState::gathering);
  callbacks_->candidateGenerated({"candidate:1", "0", 0});
  callbacks_->channelOpened(std::make_shared<FakeDataChannel>("tevanto"));
  callbacks_->iceConnectionStateChanged(IceConnectionState::connected);
  EXPECT_THAT(observer_->states, IsEmpty());
  EXPECT_EQ(callbacks_->iceConnectionState(), IceConnectionState::connected);
  queue_->runPending();
  EXPECT_THAT(observer_->states, ElementsAre(IceConnectionState::checking, IceConnectionState::connected));
  EXPECT_THAT(observer_->gathering, ElementsAre(IceGatheringState::gathering));
  EXPECT_THAT(observer_->candidates, ElementsAre(IceCandidate{"candidate:1", "0", 0}));
  EXPECT_THAT(observer_->channels, ElementsAre("tevanto"));
}

TEST_F(PeerCallbacksTest, endWithThePeer) {
  int completions = 0;
  callbacks_->iceConnectionStateChanged(IceConnectionState::checking);
  callbacks_->report([&] { ++completions; });
  callbacks_->silence();
  callbacks_->iceConnectionStateChanged(IceConnectionState::failed);
  queue_->runPending();
  EXPECT_THAT(observer_->states, IsEmpty());
  EXPECT_EQ(completions, 0);
}

TEST_F(PeerCallbacksTest, mayEndThePeerThemselves) {
  int later = 0;
  callbacks_->report([&] { callbacks_->silence(); });
  callbacks_->report([&] { ++later; });
  queue_->runPending();
  EXPECT_EQ(later, 0);
}

TEST_F(PeerCallbacksTest, outliveTheirObserver) {
  callbacks_->iceConnectionStateChanged(IceConnectionState::checking);
  observer_.reset();
  queue_->runPending();
  EXPECT_EQ(callbacks_->iceConnectionState(), IceConnectionState::checking);
}

TEST(PeerCallbacksOnThreads, areOverWhenThePeerIsShut) {
  const auto loop = EventLoop::background(2);
  for (int round = 0; round < 200; ++round) {
    const auto callbacks =
        std::make_shared<PeerCallbacks>(loop->makeQueue("peer"), std::weak_ptr<PeerConnectionObserver>());
    const auto open = std::make_shared<std::atomic<bool>>(true);
    std::thread engine([&] {
      for (int i = 0; i < 20; ++i) callbacks->report([open] { EXPECT_TRUE(*open); });
    });
    callbacks->silence();
    *open = false;
    engine.join();
  }
  loop->stop();
}

class ChannelCallbacksTest : public testing::Test {
 protected:
  ChannelCallbacksTest() {
    callbacks_->connect(channel_);
    observer_->callbacks = callbacks_.get();
  }

  void observe() {
    callbacks_->setObserver(observer_);
    queue_->runPending();
  }

  const std::shared_ptr<ManualQueue> queue_ = std::make_shared<ManualQueue>("channel");
  std::shared_ptr<FakeDataChannel> channel_ = std::make_shared<FakeDataChannel>("tevanto");
  const std::shared_ptr<RecordingChannel> observer_ = std::make_shared<RecordingChannel>();
  const std::shared_ptr<ChannelCallbacks> callbacks_ =
      std::make_shared<ChannelCallbacks>(queue_, DataChannelState::connecting);
};

TEST_F(ChannelCallbacksTest, tellEachStateAsItIsReached) {
  observe();
  callbacks_->stateChanged(DataChannelState::open);
  callbacks_->stateChanged(DataChannelState::closing);
  callbacks_->stateChanged(DataChannelState::closed);
  EXPECT_EQ(callbacks_->state(), DataChannelState::connecting);
  queue_->runPending();
  EXPECT_THAT(observer_->states,
              ElementsAre(DataChannelState::open, DataChannelState::closing, DataChannelState::closed));
}

TEST_F(ChannelCallbacksTest, tellNoStateTwiceAndNoneThatIsPast) {
  observe();
  for (const auto state : {DataChannelState::open, DataChannelState::open, DataChannelState::closed,
                           DataChannelState::open, DataChannelState::connecting})
    callbacks_->stateChanged(state);
  queue_->runPending();
  EXPECT_THAT(observer_->states, ElementsAre(DataChannelState::open, DataChannelState::closed));
  EXPECT_EQ(callbacks_->state(), DataChannelState::closed);
}

TEST_F(ChannelCallbacksTest, showAChannelThatIsBeingClosedAsClosingAtOnce) {
  observe();
  callbacks_->stateChanged(DataChannelState::open);
  queue_->runPending();
  callbacks_->closeSoon();
  EXPECT_EQ(callbacks_->state(), DataChannelState::closing);
  callbacks_->stateChanged(DataChannelState::closed);
  queue_->runPending();
  EXPECT_EQ(callbacks_->state(), DataChannelState::closed);
}

TEST_F(ChannelCallbacksTest, keepWhatComesBeforeThereIsAnObserver) {
  callbacks_->received(bytes("first"));
  callbacks_->received(bytes("second"));
  queue_->runPending();
  callbacks_->setObserver(observer_);
  callbacks_->received(bytes("third"));
  queue_->runPending();
  EXPECT_THAT(observer_->messages, ElementsAre("first", "second", "third"));
}

TEST_F(ChannelCallbacksTest, deliverNothingPastWhatStillWaits) {
  callbacks_->received(bytes("early"));
  queue_->runPending();
  callbacks_->received(bytes("under way"));  // comes to the queue before the observer's turn
  callbacks_->setObserver(observer_);
  queue_->runPending();
  EXPECT_THAT(observer_->messages, ElementsAre("early", "under way"));
}

TEST_F(ChannelCallbacksTest, closeAChannelWhoseMessagesNobodyTakes) {
  const std::vector<std::byte> large(kMaxBufferedBytes / 4);
  for (int i = 0; i < 4; ++i) callbacks_->received(large);
  queue_->runPending();
  EXPECT_EQ(channel_->state(), DataChannelState::open);
  callbacks_->received(bytes("one more"));
  queue_->runPending();
  EXPECT_EQ(channel_->state(), DataChannelState::closed);
}

TEST_F(ChannelCallbacksTest, areSilentOnceTheObserverIsTakenAway) {
  observe();
  callbacks_->received(bytes("late"));
  callbacks_->stateChanged(DataChannelState::open);
  callbacks_->setObserver({});
  queue_->runPending();
  EXPECT_THAT(observer_->messages, IsEmpty());
  EXPECT_THAT(observer_->states, IsEmpty());
}

TEST_F(ChannelCallbacksTest, mayLoseTheirObserverInsideACall) {
  observer_->onMessage = [this](DataChannel&) { callbacks_->setObserver({}); };
  observe();
  callbacks_->received(bytes("one"));
  callbacks_->received(bytes("two"));
  queue_->runPending();
  EXPECT_THAT(observer_->messages, ElementsAre("one"));
}

TEST_F(ChannelCallbacksTest, outliveTheirChannel) {
  observe();
  channel_.reset();
  callbacks_->received(bytes("late"));
  callbacks_->stateChanged(DataChannelState::closed);
  queue_->runPending();
  EXPECT_THAT(observer_->messages, IsEmpty());
  EXPECT_EQ(callbacks_->state(), DataChannelState::closed);
}

}  // namespace
}  // namespace tevanto
