#pragma once

#include <atomic>
#include <memory>
#include <utility>

#include "core/queue/CallbackGuard.h"
#include "core/queue/SerialQueue.h"
#include "p2p/peer/PeerConnection.h"

namespace tevanto {

/// PeerCallbacks moves the callbacks of a peer from the engine's threads to one queue, so that an observer
/// may call the peer again. It ends with the peer.
class PeerCallbacks final : public std::enable_shared_from_this<PeerCallbacks> {
 public:
  PeerCallbacks(std::shared_ptr<SerialQueue> queue, std::weak_ptr<PeerConnectionObserver> observer);

  const std::shared_ptr<SerialQueue>& queue() const { return queue_; }

  // On threads of the engine.
  void iceConnectionStateChanged(IceConnectionState state);
  void iceGatheringStateChanged(IceGatheringState state);
  void candidateGenerated(IceCandidate candidate);
  void channelOpened(std::shared_ptr<DataChannel> channel);
  /// Calls `function` on the queue, unless `silence` was called by then.
  template <class F>
  void report(F&& function) {
    queue_->async([self = shared_from_this(), function = std::forward<F>(function)]() mutable {
      const CallbackGuard::Call call(self->gate_);
      if (!self->silenced_) function();
    });
  }

  // On any thread.
  /// After it returns, no report starts or is running, except one that this call is made from.
  void silence();
  IceConnectionState iceConnectionState() const { return iceConnectionState_; }

 private:
  template <class F>
  void notify(F&& function) {
    report([observer = observer_, function = std::forward<F>(function)] {
      if (const auto alive = observer.lock()) function(*alive);
    });
  }

  const std::shared_ptr<SerialQueue> queue_;
  const std::weak_ptr<PeerConnectionObserver> observer_;
  CallbackGuard gate_;
  std::atomic<bool> silenced_ = false;
  std::atomic<IceConnectionState> iceConnectionState_ = IceConnectionState::new_;
};

}  // namespace tevanto
