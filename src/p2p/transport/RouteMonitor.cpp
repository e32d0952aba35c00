#include "p2p/transport/RouteMonitor.h"

#include <chrono>
#include <string>

#include "p2p/channels/DataChannelMessaging.h"

namespace tevanto {
namespace {

constexpr auto kRecheckDelay = std::chrono::seconds(1);  // ICE may still move on to a better pair

}  // namespace

void RouteMonitor::iceDidConnect() {
  query();
  recheck_ = queue()->asyncAfter(kRecheckDelay, weakCall(&RouteMonitor::query));
}

void RouteMonitor::screenDataDidArrive() {
  if (!queries_.isDue(queue()->now())) return;
  post([](RouteMonitor& self) {
    // Others may have found it due at the same time.
    if (self.queries_.isDue(self.queue()->now())) self.query();
  });
}

void RouteMonitor::query() {
  assertOnQueue();
  if (environment_.query(weakCall(&RouteMonitor::answered))) queries_.queried(queue()->now());
}

void RouteMonitor::answered(const RouteReport& report) {
  const auto isRelayed = routeUsesTURN(report);
  if (!isRelayed) return;
  route_ = *isRelayed ? Route::relayed : Route::direct;
  select(*isRelayed);
}

std::optional<bool> RouteMonitor::isRelayed() const {
  const auto route = route_.load();
  if (route == Route::unknown) return std::nullopt;
  return route == Route::relayed;
}

void RouteMonitor::forget() {
  route_ = Route::unknown;
  select(false);
}

void RouteMonitor::stop() {
  recheck_.cancel();
  forget();
}

void RouteMonitor::select(bool isRelayed) {
  assertOnQueue();
  const auto change = environment_.messaging->routeSelected(isRelayed);
  if (!change.changed) return;
  environment_.log.info(std::string("selected route: ") + (isRelayed ? "TURN relay" : "direct"));
  environment_.onChange(isRelayed, change.bytes);
}

}  // namespace tevanto
