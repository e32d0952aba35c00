#include "platform/macos/values/network/PeerStates.h"

#include <gtest/gtest.h>

#include <limits>

namespace tevanto {
namespace {

constexpr auto kFar = std::numeric_limits<std::int64_t>::max();

TEST(PeerStates, ofTheConnectionHaveTheEnginesNumbers) {
  const IceConnectionState states[] = {IceConnectionState::new_,      IceConnectionState::checking,
                                       IceConnectionState::connected, IceConnectionState::completed,
                                       IceConnectionState::failed,    IceConnectionState::disconnected,
                                       IceConnectionState::closed,    IceConnectionState::count};
  for (std::int64_t number = 0; number < 8; ++number)
    EXPECT_EQ(iceConnectionStateOf(number), states[number]) << number;
  EXPECT_EQ(iceConnectionStateOf(-1), IceConnectionState::count);
  EXPECT_EQ(iceConnectionStateOf(kFar), IceConnectionState::count);
}

TEST(PeerStates, ofGatheringHaveTheEnginesNumbers) {
  EXPECT_EQ(iceGatheringStateOf(0), IceGatheringState::new_);
  EXPECT_EQ(iceGatheringStateOf(1), IceGatheringState::gathering);
  EXPECT_EQ(iceGatheringStateOf(2), IceGatheringState::complete);
  EXPECT_EQ(iceGatheringStateOf(kFar), IceGatheringState::complete);
}

TEST(PeerStates, ofAChannelHaveTheEnginesNumbers) {
  EXPECT_EQ(dataChannelStateOf(0), DataChannelState::connecting);
  EXPECT_EQ(dataChannelStateOf(1), DataChannelState::open);
  EXPECT_EQ(dataChannelStateOf(2), DataChannelState::closing);
  EXPECT_EQ(dataChannelStateOf(3), DataChannelState::closed);
  EXPECT_EQ(dataChannelStateOf(-1), DataChannelState::closed);
  EXPECT_EQ(dataChannelStateOf(kFar), DataChannelState::closed);
}

TEST(ChannelBuffer, isFullAtSixteenMebibytes) {
  EXPECT_TRUE(fitsBuffer(0, kMaxBufferedBytes));
  EXPECT_FALSE(fitsBuffer(1, kMaxBufferedBytes));
  EXPECT_TRUE(fitsBuffer(kMaxBufferedBytes, 0));
  EXPECT_FALSE(fitsBuffer(kMaxBufferedBytes + 1, 0));
  EXPECT_FALSE(fitsBuffer(1, std::numeric_limits<std::uint64_t>::max()));
}

}  // namespace
}  // namespace tevanto
