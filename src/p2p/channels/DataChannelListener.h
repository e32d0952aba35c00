#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <vector>

#include "p2p/peer/DataChannelKind.h"
#include "p2p/peer/PeerConnection.h"

namespace tevanto {

class DataChannelMessaging;

/// DataChannelListener observes one data channel and passes its frames to the messaging, on the thread that
/// brought them. Frames that arrive before the owner has admitted the channel wait. So no message of a
/// channel is delivered before the owner knows that the channel is open.
class DataChannelListener final : public DataChannel::Observer,
                                  public std::enable_shared_from_this<DataChannelListener> {
 public:
  /// Called on threads of the engine.
  using StateHandler = std::function<void(DataChannelListener& link, DataChannelState state)>;

  /// Few frames wait: those that come between an opening and the next turn of the owner's queue.
  static constexpr std::size_t kMaxWaitingBytes = 8 * 1024 * 1024;

  /// Listens from now on. May be called on a thread of the engine.
  static std::shared_ptr<DataChannelListener> attach(std::shared_ptr<DataChannel> channel,
                                                     DataChannelKind kind,
                                                     std::weak_ptr<DataChannelMessaging> messaging,
                                                     StateHandler onState);

  DataChannelListener(std::shared_ptr<DataChannel> channel, DataChannelKind kind,
                      std::weak_ptr<DataChannelMessaging> messaging, StateHandler onState);

  DataChannelKind kind() const { return kind_; }
  const std::shared_ptr<DataChannel>& channel() const { return channel_; }

  // On the owner's queue.

  /// Whether the channel was not known to be in this state, or beyond it, already.
  bool enters(DataChannelState state);
  /// Lets the frames through, those that waited first.
  void admit();
  /// No frame and no state comes after this.
  void detach();

 private:
  void dataChannelDidChangeState(DataChannel& channel) override;
  void dataChannelDidReceive(DataChannel& channel, std::span<const std::byte> message) override;
  bool waits(std::span<const std::byte> message);
  std::vector<std::vector<std::byte>> takeWaiting();

  const std::shared_ptr<DataChannel> channel_;
  const DataChannelKind kind_;
  const std::weak_ptr<DataChannelMessaging> messaging_;
  const StateHandler onState_;
  std::optional<DataChannelState> lastState_;

  std::mutex mutex_;  // guards what follows
  bool admitted_ = false;
  std::vector<std::vector<std::byte>> waiting_;
  std::size_t waitingBytes_ = 0;
};

}  // namespace tevanto
