#pragma once

#include <mutex>

namespace tevanto {

/// ScreenFrameSendGate decides which encoded frames go out. After a frame that the route refused it holds all
/// frames back until a key frame is accepted: the phone's decoder never gets a frame whose reference it
/// lacks.
/// One for each session.
/// Thread-safe.
///
///     open --refused--> awaiting a key frame --key frame accepted--> open
class ScreenFrameSendGate {
 public:
  /// Tells the caller of `offer` whether a key frame has to be made.
  enum class Outcome { sent, keyframeNeeded };

  /// Lets the frame through to `send`, which tells whether the route accepted it, unless a key frame is
  /// awaited and this is none. `send` runs without the lock.
  template <class Send>
  Outcome offer(bool isKeyframe, Send&& send) {
    if (isAwaitingKeyframe() && !isKeyframe) return Outcome::keyframeNeeded;
    return settle(isKeyframe, send());
  }

  bool isAwaitingKeyframe() const {
    const std::lock_guard lock(lock_);
    return awaitingKeyframe_;
  }

 private:
  Outcome settle(bool isKeyframe, bool accepted) {
    const std::lock_guard lock(lock_);
    if (!accepted) {
      awaitingKeyframe_ = true;
      return Outcome::keyframeNeeded;
    }
    if (isKeyframe) awaitingKeyframe_ = false;
    return Outcome::sent;
  }

  mutable std::mutex lock_;
  bool awaitingKeyframe_ = false;
};

}  // namespace tevanto
