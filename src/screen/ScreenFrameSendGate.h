#pragma once

#include <mutex>

namespace tevanto {

/// Decides which encoded frames go out, so that the phone's decoder never meets a frame whose reference it
/// has lost: after a frame that the route refused nothing goes until a key frame does. One per session; any
/// thread may ask.
///
///     open --refused--> awaiting a key frame --key frame accepted--> open
class ScreenFrameSendGate {
 public:
  /// What is left to do after `offer`.
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
