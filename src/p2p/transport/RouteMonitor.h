#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <utility>

#include "core/queue/QueueBound.h"
#include "core/queue/SerialQueue.h"
#include "p2p/transport/PeerSession.h"
#include "p2p/transport/RouteQueryTimer.h"
#include "p2p/transport/TransportLog.h"

namespace tevanto {

class DataChannelMessaging;

/// RouteMonitor asks which route ICE has selected and reports each change from or to a TURN relay:
///
///     ICE has connected   asks now, and again after 1 s
///     screen data came    asks, unless it did so within the last 5 s
///     the session ended   the route is unknown, and reported direct when it was relayed
///
/// The bytes that came through a relay are counted by the messaging, which learns of each change first.
/// Lives on the state queue, except where noted; owned by the connector.
class RouteMonitor final : public QueueBound<RouteMonitor> {
 public:
  struct Environment {
    std::shared_ptr<SerialQueue> queue;
    /// Asks the current session for its statistics; false when there is no session.
    std::function<bool(PeerSession::StatisticsHandler)> query;
    std::shared_ptr<DataChannelMessaging> messaging;
    /// Called on the queue, with the bytes that a relay had carried and that were not reported yet.
    std::function<void(bool isRelayed, std::optional<std::uint64_t> relayedBytes)> onChange;
    TransportLog log;
  };

  explicit RouteMonitor(Environment environment)
      : QueueBound(environment.queue), environment_(std::move(environment)) {}

  void iceDidConnect();
  /// The session is gone. A query that was set for later still comes: it asks the next session.
  void forget();
  /// Forgets the route and asks no more by itself.
  void stop();

  // From any thread.
  /// True when the route leads through a relay; nothing while that is not known.
  std::optional<bool> isRelayed() const;
  void screenDataDidArrive();

 private:
  enum class Route { unknown, direct, relayed };

  void query();
  void answered(const RouteReport& report);
  void select(bool isRelayed);

  const Environment environment_;
  RouteQueryTimer queries_;
  std::atomic<Route> route_ = Route::unknown;
  Timer recheck_;
};

}  // namespace tevanto
