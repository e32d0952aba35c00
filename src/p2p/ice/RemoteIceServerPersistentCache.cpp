#include "p2p/ice/RemoteIceServerPersistentCache.h"

#include <functional>
#include <span>
#include <utility>

#include "core/settings/UserDefaults.h"

namespace tevanto {
namespace {

DefaultsData dataOf(std::string_view text) {
  const auto bytes = std::as_bytes(std::span(text.data(), text.size()));
  return {bytes.begin(), bytes.end()};
}

std::string_view textOf(const DefaultsData& data) {
  return {reinterpret_cast<const char*>(data.data()), data.size()};
}

std::vector<RemoteIceServerConfig> turnServersOf(std::vector<RemoteIceServerConfig> servers) {
  std::erase_if(servers, std::not_fn(isTURNServer));
  return servers;
}

}  // namespace

bool isUsable(const BrokeredIceServers& brokered, std::chrono::system_clock::time_point now) {
  const auto age = now - brokered.loadedAt;
  return age >= age.zero() && age < kTurnCredentialsLife && hasTURNServer(brokered.servers);
}

RemoteIceServerPersistentCache::RemoteIceServerPersistentCache(UserDefaults& defaults, WallClock now,
                                                               std::string origin)
    : defaults_(defaults), now_(std::move(now)), origin_(std::move(origin)) {}

std::optional<BrokeredIceServers> RemoteIceServerPersistentCache::load() const {
  if (!origin_.empty() && defaults_.string(kTurnCredentialsOriginKey).value_or(origin_) != origin_)
    return std::nullopt;
  const auto stored = defaults_.data(kTurnCredentialsKey);
  auto brokered = stored ? decodeBrokeredIceServers(textOf(*stored)) : std::nullopt;
  return brokered && isUsable(*brokered, now_()) ? brokered : std::nullopt;
}

Result<void> RemoteIceServerPersistentCache::save(const std::vector<RemoteIceServerConfig>& servers) {
  auto saved = defaults_.set(kTurnCredentialsKey, dataOf(encodeBrokeredIceServers({servers, now_()})));
  if (!saved || origin_.empty() || defaults_.string(kTurnCredentialsOriginKey) == origin_) return saved;
  return defaults_.set(kTurnCredentialsOriginKey, origin_);
}

Result<void> RemoteIceServerPersistentCache::remember(const std::vector<RemoteIceServerConfig>& servers) {
  const auto stored = load();
  if (stored && turnServersOf(stored->servers) == turnServersOf(servers)) return {};
  return save(servers);
}

}  // namespace tevanto
