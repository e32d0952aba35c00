#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "remote/message/RemoteMessageCodec.h"

/// What decodes must encode, and decode again to the same message.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto message = tevanto::decodeRemoteMessage({reinterpret_cast<const char*>(data), size});
  if (!message) return 0;
  std::string json;
  if (!tevanto::encodeRemoteMessage(*message, json)) std::abort();
  if (json.find('\n') != std::string::npos) std::abort();
  if (tevanto::decodeRemoteMessage(json) != message) std::abort();
  return 0;
}
