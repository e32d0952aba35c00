#pragma once

#include <atomic>
#include <memory>
#include <utility>

#include "core/queue/CallbackGuard.h"
#include "core/queue/SerialQueue.h"
#include "p2p/peer/PeerConnection.h"

namespace tevanto {

/// Brings what an engine tells of a peer on threads of its own to one queue, so that whoever is told may call
/// the peer again, and ends it with the peer.
class PeerCallbacks final : public std::enable_shared_from_this<PeerCallbacks> {
 public:
  PeerCallbacks(std::shared_ptr<SerialQueue> queue, std::weak_ptr<PeerConnectionObserver> observer);

  const std::shared_ptr<SerialQueue>& queue() const { return queue_; }

  // On threads of the engine.
  void iceConnectionStateChanged(IceConnectionState state);
  void iceGatheringStateChanged(IceGatheringState state);
  void candidateGenerated(IceCandidate candidate);
  void channelOpened(std::shared_ptr<DataChannel> channel);
  /// Calls it on the queue, unless the peer has been shut by then.
  template <class F>
  void report(F&& function) {
    queue_->async([self = shared_from_this(), function = std::forward<F>(function)]() mutable {
      const CallbackGuard::Call call(self->gate_);
      if (!self->shut_) function();
    });
  }

  // On any thread.
  /// When it returns nothing is being reported, besides what made this call, nor will be.
  void shut();
  IceConnectionState iceConnectionState() const { return iceConnectionState_; }

 private:
  template <class F>
  void tell(F&& function) {
    report([observer = observer_, function = std::forward<F>(function)] {
      if (const auto alive = observer.lock()) function(*alive);
    });
  }

  const std::shared_ptr<SerialQueue> queue_;
  const std::weak_ptr<PeerConnectionObserver> observer_;
  CallbackGuard gate_;
  std::atomic<bool> shut_ = false;
  std::atomic<IceConnectionState> iceConnectionState_ = IceConnectionState::new_;
};

}  // namespace tevanto
