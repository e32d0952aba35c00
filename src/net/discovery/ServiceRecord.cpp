#include "net/discovery/ServiceRecord.h"

#include "core/text/Text.h"

namespace tevanto {
namespace {

constexpr std::size_t kMaxNameBytes = 63;
constexpr std::size_t kMaxEntryBytes = 255;

bool isContinuation(char byte) { return (static_cast<unsigned char>(byte) & 0xC0) == 0x80; }

bool isKey(const std::string& key) { return !key.empty() && key.find('=') == std::string::npos; }

}  // namespace

std::string serviceNameFrom(std::string_view name) {
  std::string valid;
  forEachGraphemeCluster(name, [&](std::u16string_view cluster) {
    if (cluster != std::u16string_view(u"\0", 1)) valid += toUtf8(cluster);
  });
  if (valid.size() <= kMaxNameBytes) return valid;
  auto end = kMaxNameBytes;
  while (end > 0 && isContinuation(valid[end])) --end;
  return valid.substr(0, end);
}

std::vector<std::byte> textRecordOf(const std::vector<std::pair<std::string, std::string>>& entries) {
  std::string record;
  for (const auto& [key, value] : entries) {
    const auto entry = key + "=" + value;
    if (!isKey(key) || entry.size() > kMaxEntryBytes) continue;
    record += static_cast<char>(entry.size());
    record += entry;
  }
  if (record.empty()) record.assign(1, '\0');
  const auto* bytes = reinterpret_cast<const std::byte*>(record.data());
  return {bytes, bytes + record.size()};
}

}  // namespace tevanto
