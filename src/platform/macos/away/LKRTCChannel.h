#pragma once

#include <memory>
#include <string>

#include "p2p/peer/PeerConnection.h"
#include "platform/macos/away/LKRTCFramework.h"
#include "platform/macos/values/network/ChannelCallbacks.h"

namespace tevanto {

/// LKRTCChannel is the handle of a data channel. Destroying it closes the channel.
class LKRTCChannel final : public DataChannel {
 public:
  /// Observers are called on the queue.
  static std::shared_ptr<LKRTCChannel> adopt(LKRTCDataChannel* channel, std::shared_ptr<SerialQueue> queue);
  LKRTCChannel(LKRTCDataChannel* channel, id delegate, std::shared_ptr<ChannelCallbacks> callbacks);
  ~LKRTCChannel() override;

  std::string label() const override { return label_; }
  DataChannelState state() const override { return callbacks_->state(); }
  std::uint64_t bufferedAmount() const override;
  bool send(std::span<const std::byte> message) override;
  void setObserver(std::weak_ptr<Observer> observer) override;
  void close() override;

 private:
  LKRTCDataChannel* const channel_;
  [[maybe_unused]] const id delegate_;  // held: the channel does not hold it
  const std::shared_ptr<ChannelCallbacks> callbacks_;
  const std::string label_;
};

}  // namespace tevanto
