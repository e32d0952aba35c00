#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>

namespace tevanto {

/// TurnByteCounter counts the screen bytes that came through a TURN relay, whose operator pays for them. It
/// reports them in large steps rather than per frame. A value; its owner serializes the calls.
class TurnByteCounter {
 public:
  static constexpr std::uint64_t kReportStepBytes = 1'000'000;

  struct RouteChange {
    bool changed = false;
    /// The bytes that were counted and not yet reported, when the route has left the relay.
    std::optional<std::uint64_t> bytes;

    bool operator==(const RouteChange&) const = default;
  };

  bool isRelayed() const { return relayed_; }

  RouteChange routeSelected(bool relayed) {
    if (relayed == std::exchange(relayed_, relayed)) return {};
    const auto pending = relayed ? 0 : std::exchange(pendingBytes_, 0);
    return {true, pending > 0 ? std::optional(pending) : std::nullopt};
  }

  /// Counts screen data that arrived; the sum when it is time to report it.
  std::optional<std::uint64_t> arrived(std::size_t bytes) {
    if (!relayed_) return std::nullopt;
    pendingBytes_ += bytes;
    if (pendingBytes_ < kReportStepBytes) return std::nullopt;
    return std::exchange(pendingBytes_, 0);
  }

 private:
  bool relayed_ = false;
  std::uint64_t pendingBytes_ = 0;
};

}  // namespace tevanto
