#pragma once

#include <api/data_channel_interface.h>
#include <api/sctp_transport_interface.h>
#include <api/transport/data_channel_transport_interface.h>

#include <atomic>
#include <cstdint>

namespace tevanto {

/// What a channel sends without a turn on the signaling thread, which would hand it to the network thread and
/// wait there: a change of the thread less for each message.
///
///     sender --> network thread --> SCTP                       the short road
///     sender --> network thread --> signaling thread --> ...   where SCTP does not take it now
///     sender --------------------> signaling thread --> ...    while something still waits behind that one
///
/// The order is kept, because a message only takes the short road to its end when the signaling thread holds
/// none before it, and none is given to the signaling thread past those that still are on the short road. The
/// same holds for what else is said of a channel: see `isEmpty`.
class LibwebrtcShortRoad {
 public:
  /// On the signaling thread, once, before the channel counts as open. Without this, or for a channel without
  /// order, which the engine itself may treat otherwise, there is no short road.
  void open(rtc::scoped_refptr<webrtc::SctpTransportInterface> sctp, webrtc::DataChannelInterface& channel);
  /// The channel is no longer open: its stream may be another channel's before a sender that found it open
  /// comes to send.
  void close() { isClosed_ = true; }

  // On the thread that sends.

  /// Whether the next message goes to the network thread, and counts it there then; else it is counted as the
  /// signaling thread's.
  bool enter();
  /// Whether none is on the way to the network thread, so that what is posted to the signaling thread now
  /// comes behind all that was sent.
  bool isEmpty() const { return onWay_ == 0; }

  // On the network thread.

  /// False when the signaling thread is to send it: that one counts it from now on.
  bool send(const rtc::CopyOnWriteBuffer& message);
  /// A message that was counted by `enter` was sent, or has been posted to the signaling thread.
  void leave() { --onWay_; }

  // On the signaling thread.

  /// So many of its messages were taken by SCTP, or are lost.
  void signalingSent(std::uint32_t count) { atSignaling_ -= count; }

 private:
  // Written before the channel counts as open.
  rtc::scoped_refptr<webrtc::SctpTransportInterface> sctp_;
  int stream_ = -1;
  webrtc::SendDataParams parameters_;

  std::atomic<bool> isClosed_ = false;
  std::atomic<std::int64_t> onWay_ = 0;
  std::atomic<std::int64_t> atSignaling_ = 0;
};

}  // namespace tevanto
