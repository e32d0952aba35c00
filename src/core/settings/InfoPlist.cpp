#include "core/settings/InfoPlist.h"

#include <plist/plist.h>

#include <cstdint>
#include <fstream>
#include <iterator>
#include <memory>
#include <utility>

namespace tevanto {
namespace {

std::optional<std::string> stringOf(plist_t node) {
  if (!node || plist_get_node_type(node) != PLIST_STRING) return std::nullopt;
  std::uint64_t length = 0;
  const char* text = plist_get_string_ptr(node, &length);
  return text ? std::optional<std::string>(std::in_place, text, length) : std::nullopt;
}

std::optional<std::vector<std::string>> stringsOf(plist_t node) {
  if (!node || plist_get_node_type(node) != PLIST_ARRAY) return std::nullopt;
  std::vector<std::string> found;
  for (std::uint32_t i = 0; i < plist_array_get_size(node); ++i) {
    auto text = stringOf(plist_array_get_item(node, i));
    if (!text) return std::nullopt;
    found.push_back(std::move(*text));
  }
  return found;
}

/// By name only: libplist ends the process when it is to walk over keys of which one is malformed.
plist_t itemOf(plist_t dictionary, std::string_view key) {
  return dictionary ? plist_dict_get_item(dictionary, std::string(key).c_str()) : nullptr;
}

}  // namespace

Result<InfoPlist> InfoPlist::parse(std::span<const std::byte> bytes) {
  if (bytes.size() > kMaxBytes) return Failure{"The property list is larger than 64 KiB."};
  plist_t raw = nullptr;
  const auto* data = reinterpret_cast<const char*>(bytes.data());
  const auto size = static_cast<std::uint32_t>(bytes.size());
  if (bytes.size() >= 8) plist_from_memory(data, size, &raw);
  const std::shared_ptr<void> root(raw, [](plist_t node) { plist_free(node); });
  if (!raw || plist_get_node_type(raw) != PLIST_DICT)
    return Failure{"This is not a property list with a dictionary at its top."};

  InfoPlist result;
  result.dictionary_ = root;
  return result;
}

Result<InfoPlist> InfoPlist::load(const std::filesystem::path& file) {
  std::ifstream in(file, std::ios::binary);
  if (!in) return Failure{"Cannot open " + file.string() + "."};
  std::string bytes(kMaxBytes + 1, '\0');
  in.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  bytes.resize(static_cast<std::size_t>(in.gcount()));
  auto parsed = parse(std::as_bytes(std::span(bytes)));
  if (!parsed) return Failure{file.string() + ": " + parsed.error()};
  return parsed;
}

std::optional<std::string> InfoPlist::string(std::string_view key) const {
  return stringOf(itemOf(dictionary_.get(), key));
}

std::optional<std::vector<std::string>> InfoPlist::strings(std::string_view key) const {
  return stringsOf(itemOf(dictionary_.get(), key));
}

}  // namespace tevanto
