#pragma once

#include <atomic>
#include <chrono>
#include <optional>

#include "core/queue/SerialQueue.h"
#include "p2p/peer/PeerConnection.h"

namespace tevanto {

/// True when the pair of candidates that ICE selected leads through a TURN relay; nothing while none is
/// selected.
std::optional<bool> routeUsesTURN(const RouteReport& report);

/// When it is time to ask for statistics again. From any thread.
class RouteQueryTimer {
 public:
  static constexpr auto kInterval = std::chrono::seconds(5);

  bool isDue(SerialQueue::TimePoint now) const {
    const auto last = lastCheck_.load(std::memory_order_relaxed);
    return last == kNever ||
           now.time_since_epoch().count() - last >= SerialQueue::Duration(kInterval).count();
  }
  void queried(SerialQueue::TimePoint now) {
    lastCheck_.store(now.time_since_epoch().count(), std::memory_order_relaxed);
  }

 private:
  using Ticks = SerialQueue::Duration::rep;
  static constexpr Ticks kNever = SerialQueue::Duration::min().count();

  std::atomic<Ticks> lastCheck_{kNever};
};

}  // namespace tevanto
