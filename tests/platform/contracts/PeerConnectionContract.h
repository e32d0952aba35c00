#pragma once

// What the transport relies on in peers of every engine, on one computer. A test program includes this once
// and names the implementations that it has (INSTANTIATE_TEST_SUITE_P).

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <ostream>
#include <span>
#include <string>
#include <vector>

#include "tests/support/peers/PeerSide.h"
#include "tests/support/programs/Eventually.h"

namespace tevanto::test {

struct PeerImplementation {
  const char* name;
  std::function<std::unique_ptr<PeerConnectionFactory>()> make;
};

inline void PrintTo(const PeerImplementation& implementation, std::ostream* out) {
  *out << implementation.name;
}

inline std::span<const std::byte> bytesOfText(const std::string& text) {
  return std::as_bytes(std::span(text.data(), text.size()));
}

inline std::string numberedMessage(int number, std::size_t size) {
  std::string message(size, static_cast<char>('a' + number % 26));
  return message.replace(0, 8, (std::to_string(number) + "        ").substr(0, 8));
}

class PeerConnectionContract : public testing::TestWithParam<PeerImplementation> {
 protected:
  const std::unique_ptr<PeerConnectionFactory> made_ = GetParam().make();
  PeerConnectionFactory& factory_ = *made_;
};

TEST_P(PeerConnectionContract, openAChannelByOfferAnswerAndTrickledCandidates) {
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
}

TEST_P(PeerConnectionContract, carryAMegabyteExactlyAndInOrder) {
  const auto pair = connectedPair(factory_);
  ASSERT_TRUE(pair);
  const auto channel = pair.offerer->channel("tevanto");
  std::vector<std::string> sent;
  for (int number = 0; number < 262; ++number) sent.push_back(numberedMessage(number, 4008));
  for (const auto& message : sent) ASSERT_TRUE(channel->send(bytesOfText(message)));
  ASSERT_TRUE(eventually([&] { return pair.answerer->receivedCount("tevanto") == sent.size(); }));
  EXPECT_EQ(pair.answerer->received("tevanto"), sent);
  EXPECT_TRUE(eventually([&] { return channel->bufferedAmount() == 0; }));
}

TEST_P(PeerConnectionContract, carryMessagesUpToSixtyThousandBytes) {
  const auto pair = connectedPair(factory_);
  ASSERT_TRUE(pair);
  const auto message = numberedMessage(1, 60'009);
  ASSERT_TRUE(pair.answerer->channel("tevanto")->send(bytesOfText(message)));
  ASSERT_TRUE(eventually([&] { return pair.offerer->receivedCount("tevanto") == 1; }));
  EXPECT_EQ(pair.offerer->received("tevanto").front(), message);
}

TEST_P(PeerConnectionContract, tellTheirChannelsApartByLabel) {
  const auto pair = connectedPair(factory_);
  ASSERT_TRUE(pair);
  const auto screen = pair.answerer->openChannel("tevanto-screen", {});
  ASSERT_TRUE(screen);
  ASSERT_TRUE(eventually([&] { return screen->state() == DataChannelState::open; }));
  ASSERT_TRUE(screen->send(bytesOfText("picture")));
  ASSERT_TRUE(pair.answerer->channel("tevanto")->send(bytesOfText("{}")));
  ASSERT_TRUE(eventually([&] {
    return pair.offerer->receivedCount("tevanto-screen") == 1 && pair.offerer->receivedCount("tevanto") == 1;
  }));
  EXPECT_EQ(pair.offerer->received("tevanto-screen").front(), "picture");
}

TEST_P(PeerConnectionContract, reportAChannelThatTheOtherSideClosed) {
  const auto pair = connectedPair(factory_);
  ASSERT_TRUE(pair);
  const auto channel = pair.answerer->channel("tevanto");
  pair.offerer->channel("tevanto")->close();
  EXPECT_FALSE(pair.offerer->channel("tevanto")->send(bytesOfText("late")));
  ASSERT_TRUE(eventually([&] { return channel->state() == DataChannelState::closed; }));
  EXPECT_FALSE(channel->send(bytesOfText("late")));
  EXPECT_EQ(pair.answerer->channelStates("tevanto"),
            (std::vector{DataChannelState::open, DataChannelState::closing, DataChannelState::closed}));
}

TEST_P(PeerConnectionContract, reportAPeerThatWentAway) {
  const auto pair = connectedPair(factory_);
  ASSERT_TRUE(pair);
  pair.offerer->peer().close();
  EXPECT_TRUE(
      eventually([&] { return pair.answerer->channel("tevanto")->state() == DataChannelState::closed; }));
}

TEST_P(PeerConnectionContract, dropACandidateThatIsNone) {
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

TEST_P(PeerConnectionContract, sayWhyADescriptionIsRefused) {
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

TEST_P(PeerConnectionContract, nameTheSelectedPairAndItsCandidates) {
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

TEST_P(PeerConnectionContract, refuseAServerThatIsNone) {
  const auto side = std::make_shared<PeerSide>();
  PeerConfiguration configuration;
  configuration.iceServers.push_back({{"gopher://127.0.0.1"}, std::nullopt, std::nullopt});
  EXPECT_FALSE(factory_.create(configuration, side));
}

TEST_P(PeerConnectionContract, loseNoMessageThatComesBeforeTheObserver) {
  const auto pair = connectedPair(factory_);
  ASSERT_TRUE(pair);
  pair.answerer->observesAtOnce = false;
  const auto early = pair.offerer->openChannel("early");
  ASSERT_TRUE(early);
  ASSERT_TRUE(eventually([&] { return early->state() == DataChannelState::open; }));
  std::vector<std::string> sent;
  for (int number = 0; number < 10; ++number) sent.push_back(numberedMessage(number, 100));
  for (const auto& message : sent) ASSERT_TRUE(early->send(bytesOfText(message)));
  // What is sent later on a channel of the same association has passed what was sent before.
  ASSERT_TRUE(pair.offerer->channel("tevanto")->send(bytesOfText("after")));
  ASSERT_TRUE(eventually([&] { return pair.answerer->receivedCount("tevanto") == 1; }));
  EXPECT_EQ(pair.answerer->receivedCount("early"), 0u);
  pair.answerer->channel("early")->setObserver(pair.answerer);
  ASSERT_TRUE(eventually([&] { return pair.answerer->receivedCount("early") == sent.size(); }));
  EXPECT_EQ(pair.answerer->received("early"), sent);
}

}  // namespace tevanto::test
