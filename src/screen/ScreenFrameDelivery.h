#pragma once

#include <atomic>
#include <cstddef>
#include <span>
#include <utility>

#include "screen/ScreenFrameSendGate.h"
#include "screen/ScreenRoute.h"

namespace tevanto {

/// ScreenFrameDelivery passes one session's frames through the gate to the route. It remembers whether the
/// route refused one.
/// Thread-safe; frames come one at a time.
class ScreenFrameDelivery {
 public:
  enum class Outcome { sent, sentKeyframe, keyframeNeeded };

  explicit ScreenFrameDelivery(ScreenRoute route) : route_(std::move(route)) {}

  void announce(std::span<const std::byte> sps, std::span<const std::byte> pps) const;
  Outcome deliver(std::span<const std::byte> data, bool isKeyframe);

  /// The phone waits for a key frame: what it shows is not what the computer shows.
  bool isAwaitingKeyframe() const { return gate_.isAwaitingKeyframe(); }
  /// It waits, and the route would not take a key frame like the last one now: to deliver a picture again
  /// would be for nothing.
  bool isBlocked() const;

 private:
  const ScreenRoute route_;
  ScreenFrameSendGate gate_;
  std::atomic<std::size_t> lastKeyframeBytes_ = 0;
};

}  // namespace tevanto
