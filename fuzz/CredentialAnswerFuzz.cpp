#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "p2p/ice/RemoteIceServerConfig.h"

/// What a credential service, a cache or a peer's record says either decodes to something that is written and
/// read again as the same, or is nothing.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text{reinterpret_cast<const char*>(data), size};
  if (const auto servers = tevanto::decodeRemoteIceServersResponse(text)) {
    if (tevanto::decodeIceServers(tevanto::encodeIceServers(*servers)) != servers) std::abort();
  }
  if (const auto servers = tevanto::decodeIceServers(text)) {
    if (tevanto::decodeIceServers(tevanto::encodeIceServers(*servers)) != servers) std::abort();
  }
  if (const auto brokered = tevanto::decodeBrokeredIceServers(text)) {
    const auto again = tevanto::decodeBrokeredIceServers(tevanto::encodeBrokeredIceServers(*brokered));
    if (!again || again->servers != brokered->servers) std::abort();
  }
  return 0;
}
