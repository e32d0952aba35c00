#include <gtest/gtest.h>

#include <algorithm>
#include <future>
#include <string>
#include <vector>

#include "platform/linux/LoadedPeers.h"
#include "tests/support/Eventually.h"
#include "tests/support/PeerSide.h"

// Peers of the real engine, as the programs load it, on the loopback interface.

namespace tevanto {
namespace {

using test::connectedPair;
using test::eventually;
using test::PeerSide;

PeerEngineOptions onLoopback() {
  PeerEngineOptions options;
  options.includeLoopback = true;
  return options;
}

std::span<const std::byte> bytes(const std::string& text) { return std::as_bytes(std::span(text)); }

std::string messageOf(int number, std::size_t size) {
  std::string message(size, static_cast<char>('a' + number % 26));
  return message.replace(0, 8, (std::to_string(number) + "        ").substr(0, 8));
}

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

TEST_F(LibwebrtcPeers, openAChannelByOfferAnswerAndTrickledCandidates) {
  const auto pair = connectedPair(factory_);
  ASSERT_TRUE(pair);
  EXPECT_EQ(pair.answerer->channel("tevanto")->label(), "tevanto");
  const auto states = pair.offerer->iceStates();
  ASSERT_FALSE(states.empty());
  EXPECT_EQ(states.front(), IceConnectionState::checking);
  EXPECT_TRUE(eventually([&] {
    const auto state = pair.offerer->peer().iceConnectionState();
    return state == IceConnectionState::connected || state == IceConnectionState::completed;
  }));
  ASSERT_FALSE(pair.answerer->gatheringStates().empty());
  EXPECT_EQ(pair.answerer->gatheringStates().front(), IceGatheringState::gathering);
  ASSERT_FALSE(pair.answerer->candidates().empty());
  const auto candidate = pair.answerer->candidates().front();
  EXPECT_EQ(candidate.sdp.rfind("candidate:", 0), 0u) << candidate.sdp;
  EXPECT_EQ(candidate.sdpMid, "0");
  EXPECT_EQ(candidate.sdpMLineIndex, 0);
  EXPECT_EQ(pair.offerer->channelStates("tevanto"), std::vector{DataChannelState::open});
  for (const auto& each : pair.answerer->candidates())
    EXPECT_EQ(each.sdp.find(" tcptype "), std::string::npos) << each.sdp;
}

TEST_F(LibwebrtcPeers, carryAMegabyteExactlyAndInOrder) {
  const auto pair = connectedPair(factory_);
  ASSERT_TRUE(pair);
  const auto channel = pair.offerer->channel("tevanto");
  std::vector<std::string> sent;
  for (int number = 0; number < 262; ++number) sent.push_back(messageOf(number, 4008));
  for (const auto& message : sent) ASSERT_TRUE(channel->send(bytes(message)));
  ASSERT_TRUE(eventually([&] { return pair.answerer->receivedCount("tevanto") == sent.size(); }));
  EXPECT_EQ(pair.answerer->received("tevanto"), sent);
  EXPECT_TRUE(eventually([&] { return channel->bufferedAmount() == 0; }));
}

TEST_F(LibwebrtcPeers, carryMessagesUpToSixtyThousandBytes) {
  const auto pair = connectedPair(factory_);
  ASSERT_TRUE(pair);
  const auto message = messageOf(1, 60'009);
  ASSERT_TRUE(pair.answerer->channel("tevanto")->send(bytes(message)));
  ASSERT_TRUE(eventually([&] { return pair.offerer->receivedCount("tevanto") == 1; }));
  EXPECT_EQ(pair.offerer->received("tevanto").front(), message);
}

TEST_F(LibwebrtcPeers, tellTheirChannelsApartByLabel) {
  const auto pair = connectedPair(factory_);
  ASSERT_TRUE(pair);
  const auto screen = pair.answerer->openChannel("tevanto-screen", {});
  ASSERT_TRUE(screen);
  ASSERT_TRUE(eventually([&] { return screen->state() == DataChannelState::open; }));
  ASSERT_TRUE(screen->send(bytes("picture")));
  ASSERT_TRUE(pair.answerer->channel("tevanto")->send(bytes("{}")));
  ASSERT_TRUE(eventually([&] {
    return pair.offerer->receivedCount("tevanto-screen") == 1 && pair.offerer->receivedCount("tevanto") == 1;
  }));
  EXPECT_EQ(pair.offerer->received("tevanto-screen").front(), "picture");
}

TEST_F(LibwebrtcPeers, countWhatTheNetworkHasNotTaken) {
  const auto pair = connectedPair(factory_);
  ASSERT_TRUE(pair);
  const auto channel = pair.offerer->channel("tevanto");
  HeldEngine engine(pair.answerer->peer());
  std::uint64_t most = 0;
  const auto message = messageOf(0, 4008);
  for (int sent = 0; sent < 2000; ++sent) {
    ASSERT_TRUE(channel->send(bytes(message)));
    most = std::max(most, channel->bufferedAmount());
  }
  EXPECT_GT(most, 65'536u);
  EXPECT_LE(most, 2000u * 4008u);
  engine.release();
  EXPECT_TRUE(eventually([&] { return channel->bufferedAmount() == 0; }));
  EXPECT_TRUE(eventually([&] { return pair.answerer->receivedCount("tevanto") == 2000; }));
}

TEST_F(LibwebrtcPeers, refuseToBufferMoreThanTheEngineKeeps) {
  const auto pair = connectedPair(factory_);
  ASSERT_TRUE(pair);
  const auto channel = pair.offerer->channel("tevanto");
  HeldEngine engine(pair.answerer->peer());
  const auto message = messageOf(0, 60'000);
  int sent = 0;
  while (sent < 1000 && channel->send(bytes(message))) ++sent;
  EXPECT_EQ(sent, 16 * 1024 * 1024 / 60'000);
  EXPECT_EQ(channel->bufferedAmount(), static_cast<std::uint64_t>(sent) * 60'000);
  engine.release();
  ASSERT_TRUE(
      eventually([&] { return pair.answerer->receivedCount("tevanto") == static_cast<std::size_t>(sent); }));
  EXPECT_EQ(channel->state(), DataChannelState::open);
}

TEST_F(LibwebrtcPeers, reportAChannelThatTheOtherSideClosed) {
  const auto pair = connectedPair(factory_);
  ASSERT_TRUE(pair);
  const auto channel = pair.answerer->channel("tevanto");
  pair.offerer->channel("tevanto")->close();
  EXPECT_FALSE(pair.offerer->channel("tevanto")->send(bytes("late")));
  ASSERT_TRUE(eventually([&] { return channel->state() == DataChannelState::closed; }));
  EXPECT_FALSE(channel->send(bytes("late")));
  EXPECT_EQ(pair.answerer->channelStates("tevanto"),
            (std::vector{DataChannelState::open, DataChannelState::closing, DataChannelState::closed}));
}

TEST_F(LibwebrtcPeers, reportAPeerThatWentAway) {
  const auto pair = connectedPair(factory_);
  ASSERT_TRUE(pair);
  pair.offerer->peer().close();
  EXPECT_TRUE(
      eventually([&] { return pair.answerer->channel("tevanto")->state() == DataChannelState::closed; }));
}

TEST_F(LibwebrtcPeers, dropACandidateThatIsNone) {
  const auto first = PeerSide::make(factory_);
  const auto second = PeerSide::make(factory_);
  first->trickleTo(second);
  second->trickleTo(first);
  ASSERT_TRUE(first->openChannel("tevanto"));
  const auto offer = first->createOffer();
  ASSERT_TRUE(offer);
  ASSERT_TRUE(first->setLocal(offer.value()));
  ASSERT_TRUE(second->setRemote(offer.value()));
  for (const auto* line : {"", "candidate:", "nonsense", "candidate:1 1 udp 1 nowhere 1 typ nothing"}) {
    second->peer().addCandidate({line, "0", 0});
    second->peer().addCandidate({line, "no such section", -7});
  }
  second->peer().addCandidate({"candidate:1 1 udp 2122260223 127.0.0.1 9 typ host", "no such section", 77});
  const auto answer = second->createAnswer();
  ASSERT_TRUE(answer);
  ASSERT_TRUE(second->setLocal(answer.value()));
  ASSERT_TRUE(first->setRemote(answer.value()));
  EXPECT_TRUE(eventually([&] { return first->channel("tevanto")->state() == DataChannelState::open; }));
}

TEST_F(LibwebrtcPeers, sayWhyADescriptionIsRefused) {
  const auto side = PeerSide::make(factory_);
  for (const auto* sdp :
       {"", "v=0", "nonsense", "v=0\r\no=- 1 2 IN IP4 127.0.0.1\r\ns=-\r\nt=0 0\r\nm=bad\r\n"}) {
    const auto refused = side->setRemote({SdpType::offer, sdp});
    ASSERT_FALSE(refused) << sdp;
    EXPECT_FALSE(refused.error().empty()) << sdp;
    EXPECT_NE(refused.error(), "no completion came") << sdp;
  }
  // An answer to nothing.
  const auto other = PeerSide::make(factory_);
  ASSERT_TRUE(other->openChannel("tevanto"));
  const auto offer = other->createOffer();
  ASSERT_TRUE(offer);
  const auto refused = side->setRemote({SdpType::answer, offer.value().sdp});
  ASSERT_FALSE(refused);
  EXPECT_NE(refused.error().find("state"), std::string::npos) << refused.error();
  const auto noAnswer = side->createAnswer();
  ASSERT_FALSE(noAnswer);
  EXPECT_FALSE(noAnswer.error().empty());
}

TEST_F(LibwebrtcPeers, nameTheSelectedPairAndItsCandidates) {
  const auto pair = connectedPair(factory_);
  ASSERT_TRUE(pair);
  RouteReport report;
  ASSERT_TRUE(eventually([&] {
    report = pair.offerer->statistics();
    return report.selectedCandidatePairId.has_value();
  }));
  const auto selected = std::find_if(report.pairs.begin(), report.pairs.end(), [&](const auto& each) {
    return each.id == *report.selectedCandidatePairId;
  });
  ASSERT_NE(selected, report.pairs.end());
  EXPECT_EQ(selected->state, "succeeded");
  EXPECT_TRUE(selected->nominated);
  for (const auto& id : {selected->localCandidateId, selected->remoteCandidateId}) {
    const auto candidate = std::find_if(report.candidates.begin(), report.candidates.end(),
                                        [&](const auto& each) { return each.id == id; });
    ASSERT_NE(candidate, report.candidates.end());
    EXPECT_TRUE(candidate->candidateType == "host" || candidate->candidateType == "prflx");
  }
}

TEST_F(LibwebrtcPeers, refuseAServerThatIsNone) {
  const auto side = std::make_shared<PeerSide>();
  PeerConfiguration configuration;
  configuration.iceServers.push_back({{"gopher://127.0.0.1"}, std::nullopt, std::nullopt});
  EXPECT_FALSE(factory_.create(configuration, side));
}

TEST_F(LibwebrtcPeers, loseNoMessageThatComesBeforeTheObserver) {
  const auto pair = connectedPair(factory_);
  ASSERT_TRUE(pair);
  pair.answerer->observesAtOnce = false;
  const auto early = pair.offerer->openChannel("early");
  ASSERT_TRUE(early);
  ASSERT_TRUE(eventually([&] { return early->state() == DataChannelState::open; }));
  std::vector<std::string> sent;
  for (int number = 0; number < 10; ++number) sent.push_back(messageOf(number, 100));
  for (const auto& message : sent) ASSERT_TRUE(early->send(bytes(message)));
  // What is sent later on a channel of the same association has passed what was sent before.
  ASSERT_TRUE(pair.offerer->channel("tevanto")->send(bytes("after")));
  ASSERT_TRUE(eventually([&] { return pair.answerer->receivedCount("tevanto") == 1; }));
  EXPECT_EQ(pair.answerer->receivedCount("early"), 0u);
  pair.answerer->channel("early")->setObserver(pair.answerer);
  ASSERT_TRUE(eventually([&] { return pair.answerer->receivedCount("early") == sent.size(); }));
  EXPECT_EQ(pair.answerer->received("early"), sent);
}

}  // namespace
}  // namespace tevanto
