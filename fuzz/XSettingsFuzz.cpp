#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string_view>

#include "platform/linux/x11/windows/XSettings.h"

/// The list of whoever owns the desktop's settings: what it says of a name (of the length that the first byte
/// tells) stays so however it goes on, and a list that ends sooner says the same or nothing.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::size_t length = data[0] % 32;
  if (size < 1 + length) return 0;
  const std::string_view name(reinterpret_cast<const char*>(data + 1), length);
  const auto list = std::as_bytes(std::span(data, size).subspan(1 + length));
  const auto found = tevanto::integerInXSettings(list, name);
  for (auto shorter = list; !shorter.empty(); shorter = shorter.first(shorter.size() / 2)) {
    const auto less = tevanto::integerInXSettings(shorter, name);
    if (less && less != found) std::abort();
  }
  return 0;
}
