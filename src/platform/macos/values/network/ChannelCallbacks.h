#pragma once

#include <atomic>
#include <cstddef>
#include <memory>
#include <mutex>
#include <vector>

#include "core/queue/CallbackGuard.h"
#include "core/queue/SerialQueue.h"
#include "p2p/peer/PeerConnection.h"

namespace tevanto {

/// ChannelCallbacks moves the callbacks of a data channel from the engine's threads to one queue. Messages
/// that arrive before there is an observer are kept for it, up to 16 MiB; a channel that exceeds this is
/// closed.
class ChannelCallbacks final : public std::enable_shared_from_this<ChannelCallbacks> {
 public:
  ChannelCallbacks(std::shared_ptr<SerialQueue> queue, DataChannelState state);

  /// Once, before the first callback.
  void connect(std::weak_ptr<DataChannel> owner) { owner_ = std::move(owner); }

  // On threads of the engine.
  void stateChanged(DataChannelState state);
  void received(std::vector<std::byte> message);

  // On any thread.
  /// The state that was last reported to the observer; at least closing once `closeSoon` was called.
  DataChannelState state() const;
  void closeSoon() { closing_ = true; }
  /// After it returns, no call of the former observer starts or is running, except one that this call is made
  /// from.
  void setObserver(std::weak_ptr<DataChannel::Observer> observer);

 private:
  using Message = std::vector<std::byte>;

  std::shared_ptr<DataChannel::Observer> observer() const;
  bool hasHadObserver() const;
  void onMessage(Message message);
  void keepEarly(Message message);
  void deliverEarly();
  void deliver(const Message& message);

  const std::shared_ptr<SerialQueue> queue_;
  std::weak_ptr<DataChannel> owner_;
  std::atomic<DataChannelState> state_;
  std::atomic<bool> closing_ = false;
  CallbackGuard gate_;
  mutable std::mutex mutex_;
  std::weak_ptr<DataChannel::Observer> observer_;
  bool hasHadObserver_ = false;

  // The queue's.
  std::vector<Message> early_;
  std::size_t earlyBytes_ = 0;
};

}  // namespace tevanto
