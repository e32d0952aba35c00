// Peers of the real engine, as the programs load it, on the loopback interface.

#include "tests/platform/contracts/PeerConnectionContract.h"

#include <future>
#include <optional>
#include <utility>

#include "core/queue/EventLoop.h"
#include "platform/linux/webrtc/LoadedPeers.h"

namespace tevanto::test {
namespace {

PeerEngineOptions onLoopback() {
  PeerEngineOptions options;
  options.includeLoopback = true;
  return options;
}

/// Peers of an engine that signals on a loop of the program.
class PeersOnALoop final : public PeerConnectionFactory {
 public:
  PeersOnALoop() {
    auto options = onLoopback();
    options.signalingQueue = loop_->makeQueue("peer-signaling");
    peers_.emplace(options);
  }
  ~PeersOnALoop() override {
    peers_.reset();
    loop_->stop();
  }
  PeersOnALoop(const PeersOnALoop&) = delete;
  PeersOnALoop& operator=(const PeersOnALoop&) = delete;

  std::shared_ptr<PeerConnection> create(const PeerConfiguration& configuration,
                                         std::weak_ptr<PeerConnectionObserver> observer) override {
    return peers_->create(configuration, std::move(observer));
  }

 private:
  const std::shared_ptr<EventLoop> loop_ = EventLoop::background(1);
  std::optional<LoadedPeers> peers_;
};

INSTANTIATE_TEST_SUITE_P(
    Engines, PeerConnectionContract,
    testing::Values(PeerImplementation{"libwebrtc",
                                       [] { return std::make_unique<LoadedPeers>(onLoopback()); }},
                    PeerImplementation{"libwebrtcOnALoop", [] { return std::make_unique<PeersOnALoop>(); }}),
    [](const auto& implementation) { return implementation.param.name; });

/// Keeps the engine's thread in a completion: nothing goes to the network meanwhile.
class HeldEngine {
 public:
  explicit HeldEngine(PeerConnection& peer) {
    std::promise<void> entered;
    peer.statistics([&entered, released = released_.get_future().share()](const auto&) {
      entered.set_value();
      released.wait();
    });
    entered.get_future().wait();
  }
  void release() { released_.set_value(); }

 private:
  std::promise<void> released_;
};

class LibwebrtcPeers : public testing::Test {
 protected:
  LoadedPeers factory_{onLoopback()};
};

TEST_F(LibwebrtcPeers, gatherNoCandidatesOfTcp) {
  const auto pair = connectedPair(factory_);
  ASSERT_TRUE(pair);
  ASSERT_FALSE(pair.answerer->candidates().empty());
  for (const auto& each : pair.answerer->candidates())
    EXPECT_EQ(each.sdp.find(" tcptype "), std::string::npos) << each.sdp;
}

TEST_F(LibwebrtcPeers, countWhatTheNetworkHasNotTaken) {
  const auto pair = connectedPair(factory_);
  ASSERT_TRUE(pair);
  const auto channel = pair.offerer->channel("tevanto");
  constexpr unsigned kMessages = 300;
  HeldEngine engine(pair.answerer->peer());
  std::uint64_t most = 0;
  const auto message = numberedMessage(0, 4008);
  for (unsigned sent = 0; sent < kMessages; ++sent) {
    ASSERT_TRUE(channel->send(bytesOfText(message)));
    most = std::max(most, channel->bufferedAmount());
  }
  EXPECT_GT(most, 65'536u);
  EXPECT_LE(most, kMessages * 4008u);
  engine.release();
  // What the sockets drop on a busy machine is sent again after seconds, each time twice as many.
  EXPECT_TRUE(eventually([&] { return channel->bufferedAmount() == 0; }, std::chrono::seconds(100)));
  EXPECT_TRUE(eventually([&] { return pair.answerer->receivedCount("tevanto") == kMessages; }));
}

TEST_F(LibwebrtcPeers, refuseToBufferMoreThanTheEngineKeeps) {
  const auto pair = connectedPair(factory_);
  ASSERT_TRUE(pair);
  const auto channel = pair.offerer->channel("tevanto");
  HeldEngine engine(pair.answerer->peer());
  const auto message = numberedMessage(0, 60'000);
  int sent = 0;
  while (sent < 1000 && channel->send(bytesOfText(message))) ++sent;
  EXPECT_EQ(sent, 16 * 1024 * 1024 / 60'000);
  EXPECT_EQ(channel->bufferedAmount(), static_cast<std::uint64_t>(sent) * 60'000);
  engine.release();
  ASSERT_TRUE(
      eventually([&] { return pair.answerer->receivedCount("tevanto") == static_cast<std::size_t>(sent); },
                 std::chrono::seconds(100)));
  EXPECT_EQ(channel->state(), DataChannelState::open);
}

}  // namespace
}  // namespace tevanto::test
