#pragma once

#include <cstdint>

#include "p2p/peer/PeerConnection.h"

namespace tevanto {

// These translate the numbers of the engine's enumerations (LKRTCIceConnectionState, LKRTCIceGatheringState,
// LKRTCDataChannelState). An unknown number is no state of a connection, and the final state of anything
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

/// The size of the engine's buffer for messages that a channel has not sent. The engine closes a channel that
/// exceeds it.
inline constexpr std::uint64_t kMaxBufferedBytes = 16 * 1024 * 1024;

constexpr bool fitsBuffer(std::uint64_t buffered, std::uint64_t bytes) {
  return buffered <= kMaxBufferedBytes && bytes <= kMaxBufferedBytes - buffered;
}

}  // namespace tevanto
