#pragma once

#include <api/data_channel_interface.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "core/CallGate.h"
#include "p2p/PeerConnection.h"
#include "platform/linux/LibwebrtcShortRoad.h"

namespace tevanto {

/// The engine's end of a data channel: lives on the signaling thread until the channel is let go there, and
/// keeps what every thread asks for where it can be read without asking the engine.
class LibwebrtcChannelLink final : public webrtc::DataChannelObserver {
 public:
  /// What the channel's peer sends over; asked on the signaling thread, once the channel opens.
  using SctpSource = std::function<rtc::scoped_refptr<webrtc::SctpTransportInterface>()>;

  LibwebrtcChannelLink(rtc::scoped_refptr<webrtc::DataChannelInterface> channel, SctpSource sctp);

  // On the signaling thread.
  void connect(std::weak_ptr<DataChannel> owner);
  void send(const rtc::CopyOnWriteBuffer& message);
  void close();
  void disconnect();
  /// Hands out what came before there was an observer.
  void deliverEarly();

  // On the network thread.
  /// False when it is to be sent on the signaling thread, behind what waits there.
  bool sendNow(const rtc::CopyOnWriteBuffer& message);

  // On any thread.
  LibwebrtcShortRoad& shortRoad() { return shortRoad_; }
  DataChannelState state() const;
  std::uint64_t bufferedAmount() const { return buffered_; }
  /// Whether it fits; counts it as buffered then.
  bool reserve(std::size_t bytes);
  void setObserver(std::weak_ptr<DataChannel::Observer> observer);
  void closeSoon() { closing_ = true; }

  void OnStateChange() override;
  void OnMessage(const webrtc::DataBuffer& buffer) override;
  void OnBufferedAmountChange(std::uint64_t sent) override;

 private:
  void takeState();
  void countSent();
  std::shared_ptr<DataChannel::Observer> observer() const;
  bool hasHadObserver() const;
  void deliver(const rtc::CopyOnWriteBuffer& message);
  void keepEarly(const rtc::CopyOnWriteBuffer& message);

  // The signaling thread's.
  rtc::scoped_refptr<webrtc::DataChannelInterface> channel_;  // until it is let go
  const SctpSource sctp_;
  std::weak_ptr<DataChannel> owner_;
  std::vector<rtc::CopyOnWriteBuffer> early_;
  std::size_t earlyBytes_ = 0;
  std::uint32_t sentCount_ = 0;  // as the engine counts

  std::atomic<DataChannelState> state_;
  std::atomic<bool> closing_ = false;
  std::atomic<std::uint64_t> buffered_ = 0;
  LibwebrtcShortRoad shortRoad_;
  CallGate gate_;
  mutable std::mutex mutex_;
  std::weak_ptr<DataChannel::Observer> observer_;
  bool hasHadObserver_ = false;
};

}  // namespace tevanto
