#pragma once

#include <chrono>
#include <functional>
#include <unordered_set>

#include "relay/AddressCounts.h"
#include "relay/ClientAddress.h"
#include "relay/RelayHub.h"
#include "relay/RelayMetrics.h"
#include "relay/RelayOptions.h"
#include "relay/TimerWheel.h"

namespace tevanto::relay {

class RelayConnection;

/// RelayContext holds the objects that all connections of one relay share. The monotonic and the wall clock
/// come from outside.
struct RelayContext {
  using TimePoint = TimerWheel::TimePoint;

  RelayContext(RelayOptions given, TrustedProxies trusted, std::function<TimePoint()> monotonic,
               std::function<std::chrono::sys_seconds()> wall)
      : options(std::move(given)),
        proxies(std::move(trusted)),
        now(std::move(monotonic)),
        wallClock(std::move(wall)),
        wheel(kTick, now()),
        hub(options.limits, wheel, metrics),
        addresses(options.limits.connectionsPerAddress),
        refusals(kRefusalsPerAddress) {}
  RelayContext(const RelayContext&) = delete;
  RelayContext& operator=(const RelayContext&) = delete;

  /// Short, so that the pings of clients that came within one second do not leave in one go.
  static constexpr std::chrono::milliseconds kTick{100};
  /// How many connections above its limit an address may have while they are told so.
  static constexpr std::size_t kRefusalsPerAddress = 16;

  const RelayOptions options;
  const TrustedProxies proxies;
  const std::function<TimePoint()> now;
  const std::function<std::chrono::sys_seconds()> wallClock;
  RelayMetrics metrics;
  TimerWheel wheel;
  RelayHub hub;
  AddressCounts addresses;
  AddressCounts refusals;
  std::unordered_set<RelayConnection*> connections;
  /// Called when a connection has ended and is no longer in `connections`.
  std::function<void()> onConnectionEnded;
};

}  // namespace tevanto::relay
