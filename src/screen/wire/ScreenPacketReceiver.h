#pragma once

#include <optional>
#include <span>
#include <vector>

#include "screen/wire/WebRTCScreenPacketAssembler.h"

namespace tevanto {

/// ScreenPacketReceiver is the receiving end of the screen channel: it assembles messages and drops video
/// frames that come late or twice. Rules: docs/protocol.md, section 10.4.
/// Its owner keeps it on one queue and resets it with every new channel.
class ScreenPacketReceiver {
 public:
  /// Takes one packet; gives a message when one is complete and due. A video frame is due only when its
  /// packet id is above that of the last one given (a plain comparison, on purpose, without wrap-around); any
  /// other message always is.
  std::optional<std::vector<std::byte>> add(std::span<const std::byte> packet,
                                            WebRTCScreenPacketAssembler::TimePoint now);
  void reset();

 private:
  WebRTCScreenPacketAssembler assembler_;
  std::optional<std::uint32_t> latestDeliveredScreenFrameID_;
};

}  // namespace tevanto
