#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "p2p/signaling/SignalMessage.h"

/// What decodes must encode, and decode again to the same message.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto message = tevanto::decodeSignalMessage({reinterpret_cast<const char*>(data), size});
  if (message && tevanto::decodeSignalMessage(tevanto::encodeSignalMessage(*message)) != message)
    std::abort();
  return 0;
}
