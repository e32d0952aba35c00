#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>

#include "core/settings/InfoPlist.h"

/// Nothing that a property list holds does harm, and the values that are not of our kinds are not there.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto parsed = tevanto::InfoPlist::parse(std::as_bytes(std::span(data, size)));
  if (!parsed) return parsed.error().empty() ? (std::abort(), 0) : 0;
  const auto& list = parsed.value();
  if (list.string("TevantoTurnURLs") && list.strings("TevantoTurnURLs")) std::abort();
  return 0;
}
