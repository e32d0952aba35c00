#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <vector>

#include "screen/wire/ScreenPackets.h"

using namespace tevanto;

/// A packet that parses keeps its bounds, and a message that is cut parses back to itself.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto bytes = std::as_bytes(std::span(data, size));
  if (const auto packet = parse(bytes)) {
    if (packet->count == 0 || packet->count > kMaxScreenPackets || packet->index >= packet->count)
      std::abort();
    if (packet->payload.size() + kScreenPacketHeaderBytes != size || packet->payload.empty()) std::abort();
  }
  std::vector<std::vector<std::byte>> cut;
  forEachPacket(bytes, static_cast<std::uint32_t>(size * 2654435761U),
                [&](std::span<const std::byte> packet) {
                  cut.emplace_back(packet.begin(), packet.end());
                  return true;
                });
  if (cut.size() != (size + kScreenPacketPayloadBytes - 1) / kScreenPacketPayloadBytes) std::abort();
  std::size_t at = 0;
  for (std::size_t i = 0; i < cut.size(); ++i) {
    const auto packet = parse(cut[i]);
    if (!packet || packet->index != i || packet->count != cut.size()) std::abort();
    if (!std::ranges::equal(packet->payload, bytes.subspan(at, packet->payload.size()))) std::abort();
    at += packet->payload.size();
  }
  if (at != size) std::abort();
  return 0;
}
