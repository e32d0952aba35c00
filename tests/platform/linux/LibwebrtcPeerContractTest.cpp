// Peers of the real engine, as the programs load it, on the loopback interface.

#include "tests/platform/contracts/PeerConnectionContract.h"

#include <algorithm>
#include <future>
#include <thread>

#include "platform/linux/LoadedPeers.h"

namespace tevanto::test {
namespace {

PeerEngineOptions onLoopback() {
  PeerEngineOptions options;
  options.includeLoopback = true;
  return options;
}

INSTANTIATE_TEST_SUITE_P(Engines, PeerConnectionContract,
                         testing::Values(PeerImplementation{
                             "libwebrtc", [] { return std::make_unique<LoadedPeers>(onLoopback()); }}));

/// Keeps the engine's signaling thread in a completion. Until it is released, no more goes to the network
/// than SCTP takes by itself.
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
  constexpr std::size_t kMost = 16 * 1024 * 1024;
  constexpr std::size_t kMessage = 60'000;
  const auto message = numberedMessage(0, kMessage);
  std::size_t sent = 0;
  while (sent < 1000 && channel->send(bytesOfText(message))) ++sent;
  EXPECT_GE(sent, kMost / kMessage);
  EXPECT_LT(sent, 1000u);
  EXPECT_LE(channel->bufferedAmount(), kMost);
  EXPECT_GT(channel->bufferedAmount(), kMost - 1024 * 1024);
  engine.release();
  ASSERT_TRUE(
      eventually([&] { return pair.answerer->receivedCount("tevanto") == sent; }, std::chrono::seconds(100)));
  EXPECT_EQ(channel->state(), DataChannelState::open);
}

/// Messages of all sizes, numbered.
std::vector<std::string> mixedMessages(int count) {
  std::vector<std::string> messages;
  for (int number = 0; number < count; ++number)
    messages.push_back(numberedMessage(number, 8 + static_cast<std::size_t>(number) * 7919 % 20'000));
  return messages;
}

TEST_F(LibwebrtcPeers, keepTheOrderWhetherTheNetworkTakesThemAtOnceOrLater) {
  const auto pair = connectedPair(factory_);
  ASSERT_TRUE(pair);
  const auto channel = pair.offerer->channel("tevanto");
  const auto messages = mixedMessages(200);
  int number = 0;
  for (const auto& message : messages) {
    ASSERT_TRUE(channel->send(bytesOfText(message)));
    // Heaps that SCTP cannot take, and single messages behind each.
    if (++number % 50 < 45) continue;
    ASSERT_TRUE(eventually([&] { return channel->bufferedAmount() == 0; }, std::chrono::seconds(100)));
  }
  ASSERT_TRUE(eventually([&] { return pair.answerer->receivedCount("tevanto") == messages.size(); },
                         std::chrono::seconds(100)));
  EXPECT_EQ(pair.answerer->received("tevanto"), messages);
}

TEST_F(LibwebrtcPeers, keepTheOrderOfWhatEachOfTwoThreadsSends) {
  const auto pair = connectedPair(factory_);
  ASSERT_TRUE(pair);
  const auto channel = pair.offerer->channel("tevanto");
  const auto messages = mixedMessages(300);
  const auto sendAll = [&](char sender) {
    for (auto message : messages) channel->send(bytesOfText(message += sender));
  };
  std::thread other([&] { sendAll('1'); });
  sendAll('2');
  other.join();
  ASSERT_TRUE(eventually([&] { return pair.answerer->receivedCount("tevanto") == 2 * messages.size(); },
                         std::chrono::seconds(100)));
  for (const char sender : {'1', '2'}) {
    std::vector<std::string> came;
    for (const auto& message : pair.answerer->received("tevanto"))
      if (message.back() == sender) came.push_back(message.substr(0, message.size() - 1));
    EXPECT_EQ(came, messages) << sender;
  }
}

std::size_t bytesIn(const std::vector<std::string>& messages) {
  std::size_t sum = 0;
  for (const auto& message : messages) sum += message.size();
  return sum;
}

TEST_F(LibwebrtcPeers, sendWhatCameBeforeTheCloseButForWhatWaitsInSctp) {
  const auto pair = connectedPair(factory_);
  ASSERT_TRUE(pair);
  const auto channel = pair.offerer->channel("tevanto");
  const auto messages = mixedMessages(100);
  for (const auto& message : messages) ASSERT_TRUE(channel->send(bytesOfText(message)));
  channel->close();
  EXPECT_FALSE(channel->send(bytesOfText("after the close")));
  ASSERT_TRUE(
      eventually([&] { return pair.answerer->channel("tevanto")->state() == DataChannelState::closed; },
                 std::chrono::seconds(100)));
  const auto came = pair.answerer->received("tevanto");
  ASSERT_LE(came.size(), messages.size());
  EXPECT_TRUE(std::equal(came.begin(), came.end(), messages.begin()));
  EXPECT_LT(bytesIn(messages) - bytesIn(came), 128u * 1024);
}

}  // namespace
}  // namespace tevanto::test
