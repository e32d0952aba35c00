#include "p2p/ice/IceServerSource.h"

#include <algorithm>
#include <utility>

namespace tevanto {

IceServerSource::IceServerSource(DeploymentSettings settings, RemoteIceServerPersistentCache cache,
                                 TurnCredentialService service, WallClock now, Logger log)
    : settings_(std::move(settings)),
      cache_(std::move(cache)),
      service_(std::move(service)),
      now_(std::move(now)),
      log_(std::move(log)) {}

std::vector<RemoteIceServerConfig> IceServerSource::known() {
  return withSTUN(knownTURN().value_or(std::vector<RemoteIceServerConfig>()));
}

void IceServerSource::load(const std::shared_ptr<SerialQueue>& queue, Completion done) {
  if (auto turn = knownTURN()) {
    queue->async([servers = withSTUN(std::move(*turn)), done = std::move(done)] { done(servers); });
    return;
  }
  service_.fetch(settings_.relayURLs(), queue,
                 [self = shared_from_this(),
                  done = std::move(done)](std::optional<std::vector<RemoteIceServerConfig>> fetched) {
                   if (fetched) self->keep(*fetched);
                   done(self->known());
                 });
}

std::optional<std::vector<RemoteIceServerConfig>> IceServerSource::knownTURN() {
  if (auto configured = settings_.turnOverride()) return std::vector{std::move(*configured)};
  std::optional<BrokeredIceServers> copy;
  {
    const std::lock_guard lock(mutex_);
    copy = copy_;
  }
  // Only once: each peer that starts stores its servers in the cache with the date of its start, so that a
  // second look would find credentials younger than they are.
  if (!copy) {
    copy = cache_.load();
    const std::lock_guard lock(mutex_);
    if (!copy_) copy_ = copy;
  }
  return copy && isUsable(*copy, now_()) ? std::optional(std::move(copy->servers)) : std::nullopt;
}

std::optional<std::chrono::seconds> IceServerSource::freshFor() {
  if (settings_.turnOverride() || settings_.relayURLs().empty()) return std::nullopt;
  const std::lock_guard lock(mutex_);
  if (!copy_ || !isUsable(*copy_, now_())) return kTurnCredentialsLife;
  return std::chrono::floor<std::chrono::seconds>(copy_->loadedAt + kTurnCredentialsLife - now_()) +
         std::chrono::seconds(1);
}

std::vector<RemoteIceServerConfig> IceServerSource::withSTUN(
    std::vector<RemoteIceServerConfig> servers) const {
  // The cache may hold a whole list, STUN servers included.
  for (auto& stun : settings_.stunServers()) {
    if (std::find(servers.begin(), servers.end(), stun) == servers.end()) servers.push_back(std::move(stun));
  }
  return servers;
}

void IceServerSource::keep(const std::vector<RemoteIceServerConfig>& fetched) {
  {
    const std::lock_guard lock(mutex_);
    copy_ = BrokeredIceServers{fetched, now_()};
  }
  if (const auto saved = cache_.save(fetched); !saved)
    log_.warning("cannot keep TURN credentials: " + saved.error());
}

}  // namespace tevanto
