#pragma once

#include <api/data_channel_interface.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "core/queue/CallbackGuard.h"
#include "p2p/peer/PeerConnection.h"

namespace tevanto {

/// LibwebrtcChannelCore is the engine's end of a data channel. It lives on the signaling thread until the
/// channel is released there. It keeps the values that every thread asks for, so that the engine need not be
/// asked.
class LibwebrtcChannelCore final : public webrtc::DataChannelObserver {
 public:
  explicit LibwebrtcChannelCore(rtc::scoped_refptr<webrtc::DataChannelInterface> channel);

  // On the signaling thread.
  void connect(std::weak_ptr<DataChannel> owner);
  void send(const rtc::CopyOnWriteBuffer& message);
  void close();
  void disconnect();
  /// Hands out what came before there was an observer.
  void deliverEarly();

  // On any thread.
  DataChannelState state() const;
  std::uint64_t bufferedAmount() const { return buffered_; }
  /// True when it fits; counts it as buffered then.
  bool reserve(std::size_t bytes);
  void setObserver(std::weak_ptr<DataChannel::Observer> observer);
  void closeSoon() { closing_ = true; }

  void OnStateChange() override;
  void OnMessage(const webrtc::DataBuffer& buffer) override;
  void OnBufferedAmountChange(std::uint64_t sent) override { buffered_ -= sent; }

 private:
  std::shared_ptr<DataChannel::Observer> observer() const;
  bool hasHadObserver() const;
  void deliver(const rtc::CopyOnWriteBuffer& message);
  void keepEarly(const rtc::CopyOnWriteBuffer& message);

  // The signaling thread's.
  rtc::scoped_refptr<webrtc::DataChannelInterface> channel_;
  std::weak_ptr<DataChannel> owner_;
  std::vector<rtc::CopyOnWriteBuffer> early_;
  std::size_t earlyBytes_ = 0;

  std::atomic<DataChannelState> state_;
  std::atomic<bool> closing_ = false;
  std::atomic<std::uint64_t> buffered_ = 0;
  CallbackGuard gate_;
  mutable std::mutex mutex_;
  std::weak_ptr<DataChannel::Observer> observer_;
  bool hasHadObserver_ = false;
};

}  // namespace tevanto
