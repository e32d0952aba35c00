#pragma once

#include <cstdint>

#include "p2p/peer/PeerConnection.h"

namespace tevanto {

// The numbers of the engine's enumerations (LKRTCIceConnectionState, LKRTCIceGatheringState,
// LKRTCDataChannelState). One that is not known yet is no state of a connection, and the end of anything
// else.

constexpr IceConnectionState iceConnectionStateOf(std::int64_t number) {
  const auto known = number >= 0 && number < static_cast<std::int64_t>(IceConnectionState::count);
  return known ? static_cast<IceConnectionState>(number) : IceConnectionState::count;
}

constexpr IceGatheringState iceGatheringStateOf(std::int64_t number) {
  if (number == 0) return IceGatheringState::new_;
  return number == 1 ? IceGatheringState::gathering : IceGatheringState::complete;
}

constexpr DataChannelState dataChannelStateOf(std::int64_t number) {
  const auto known = number >= 0 && number < static_cast<std::int64_t>(DataChannelState::closed);
  return known ? static_cast<DataChannelState>(number) : DataChannelState::closed;
}

/// What the engine keeps of a channel's messages that the network has not taken; with more than that it ends
/// the channel.
inline constexpr std::uint64_t kMaxBufferedBytes = 16 * 1024 * 1024;

constexpr bool fitsBuffer(std::uint64_t buffered, std::uint64_t bytes) {
  return buffered <= kMaxBufferedBytes && bytes <= kMaxBufferedBytes - buffered;
}

}  // namespace tevanto
