#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "core/Log.h"
#include "core/queue/SerialQueue.h"
#include "p2p/channels/IncomingChunks.h"
#include "p2p/channels/TurnByteCounter.h"
#include "p2p/peer/PeerConnection.h"
#include "remote/message/RemoteMessage.h"
#include "screen/wire/ScreenPacketReceiver.h"

namespace tevanto {

/// DataChannelMessaging sends and receives on the three data channels of a transport. The transport owns it
/// and sets the channels. Layouts: docs/protocol.md, section 10.
///
///     channel  carries
///     control  messages, whole or in chunks; screen messages that must not get lost
///     motion   "movePointer" commands, framed like those on the control channel
///     screen   screen packets, which are dropped before they queue
///
/// Thread-safe. A lock rather than a queue guards the state. The engine's threads bring the frames and must
/// not wait for another thread. Posting every packet would cost more than the lock.
class DataChannelMessaging {
 public:
  /// Environment holds the queue of the delegate, and the log.
  struct Environment {
    std::shared_ptr<SerialQueue> mainQueue;
    std::string role;  // stands in brackets before each log line
    Logger log = {};
  };

  /// Delegate receives the messages that arrive; held weakly.
  class Delegate {
   public:
    virtual ~Delegate() = default;
    /// On the main queue.
    virtual void didReceiveMessage(RemoteMessage message) = 0;
    /// On the main queue; the bytes are valid during the call only.
    virtual void didReceiveScreenData(std::span<const std::byte> message) = 0;
    /// On the main queue: so many bytes of screen data came through a relay since the last such report.
    virtual void didReceiveRelayScreenBytes(std::uint64_t bytes) = 0;
    /// On the thread that brought screen data, before the data counts as relayed or direct: a moment to check
    /// whether the route has changed.
    virtual void screenDataArriving() = 0;
  };

  DataChannelMessaging(Environment environment, std::weak_ptr<Delegate> delegate);
  DataChannelMessaging(const DataChannelMessaging&) = delete;
  DataChannelMessaging& operator=(const DataChannelMessaging&) = delete;

  /// The current channels; null for none. A new control channel forgets unfinished messages of the one before
  /// it, a new screen channel its unfinished packets and the last frame's id.
  void setControlChannel(std::shared_ptr<DataChannel> channel);
  void setMotionChannel(std::shared_ptr<DataChannel> channel);
  void setScreenChannel(std::shared_ptr<DataChannel> channel);
  std::shared_ptr<DataChannel> controlChannel() const;
  std::shared_ptr<DataChannel> motionChannel() const;
  std::shared_ptr<DataChannel> screenChannel() const;

  /// Sends on the motion channel what belongs there and can go there, else on the control channel; nothing
  /// when that is not open.
  void send(const RemoteMessage& message);
  /// Sends one video frame; false when the drop rule or the channel refused it.
  bool sendScreenFrame(std::span<const std::byte> message, bool isKeyFrame);
  /// Whether the drop rule would let a key frame of so many bytes pass now.
  bool takesKeyFrame(std::size_t bytes) const;
  /// Sends a screen message of at most 60,000 bytes on the control channel; false when it was not sent.
  bool sendScreenPayload(std::span<const std::byte> message);

  /// Handles one frame. Frames of channels that are not current are ignored.
  void received(const DataChannel& channel, std::span<const std::byte> frame);

  /// Sets the route that ICE selected. Returns the change, with the relayed bytes not reported yet.
  TurnByteCounter::RouteChange routeSelected(bool relayed);

 private:
  /// Channels holds the current channels; null for none.
  struct Channels {
    std::shared_ptr<DataChannel> control;
    std::shared_ptr<DataChannel> motion;
    std::shared_ptr<DataChannel> screen;
  };

  std::shared_ptr<DataChannel> openChannelFor(const RemoteMessage& message) const;
  void sendInChunks(DataChannel& channel, std::span<const std::byte> document);
  bool admit(std::uint64_t buffered, std::size_t messageBytes, bool isKeyFrame) const;
  void controlFrameReceived(std::span<const std::byte> frame);
  void chunkReceived(std::span<const std::byte> frame);
  void screenPacketReceived(std::span<const std::byte> packet);
  void decode(std::span<const std::byte> document);
  void deliverScreen(std::vector<std::byte> message);
  void logLine(const std::string& text) const;

  const Environment environment_;
  const std::weak_ptr<Delegate> delegate_;

  mutable std::mutex mutex_;  // guards all below
  Channels channels_;
  std::uint32_t outgoingMessageID_ = 0;
  std::uint32_t outgoingScreenPacketID_ = 0;
  IncomingChunks incomingChunks_;
  ScreenPacketReceiver screenPackets_;
  TurnByteCounter turnBytes_;
};

}  // namespace tevanto
