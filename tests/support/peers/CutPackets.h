#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "screen/wire/ScreenPackets.h"
#include "tests/support/peers/ScreenBytes.h"

namespace tevanto::test {

/// The packets of `forEachPacket`, all at once.
inline std::vector<Bytes> packets(std::span<const std::byte> message, std::uint32_t packetID) {
  std::vector<Bytes> cut;
  forEachPacket(message, packetID, [&](std::span<const std::byte> packet) {
    cut.push_back(copyOf(packet));
    return true;
  });
  return cut;
}

}  // namespace tevanto::test
