#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <span>

namespace tevanto {

/// ScreenTransport is a transport with data channels that can also carry the screen, for a phone away from
/// the local network. Messages: docs/protocol.md, section 10.5.
/// The two handlers are set and called on the main queue. Sending is thread-safe.
class ScreenTransport {
 public:
  virtual ~ScreenTransport() = default;

  /// A whole screen message arrived, from either channel. The bytes are valid during the call only.
  std::function<void(std::span<const std::byte> message)> onScreenData;
  /// The screen channel opened (true) or closed (false).
  std::function<void(bool isOpen)> onScreenChannelState;

  /// Sends a screen message on the ordered, reliable control channel, past the drop rule; false when it was
  /// not sent. For parameter sets.
  virtual bool sendScreenPayload(std::span<const std::byte> message) = 0;
  /// Sends a video-frame message on the screen channel; false when the drop rule or the channel refused it.
  virtual bool sendScreenFrame(std::span<const std::byte> message, bool isKeyFrame) = 0;
  /// True when it would take a key frame's message of so many bytes now.
  virtual bool takesKeyFrame(std::size_t bytes) const = 0;
};

/// ScreenTransportHost mirrors the screen over a transport that another object owns.
/// Main queue only.
class ScreenTransportHost {
 public:
  virtual ~ScreenTransportHost() = default;
  /// Makes `transport` the second route, in place of the one attached before. It is not kept alive.
  virtual void attach(const std::shared_ptr<ScreenTransport>& transport) = 0;
  /// Gives it up again, if it is the attached one.
  virtual void detach(const std::shared_ptr<ScreenTransport>& transport) = 0;
};

}  // namespace tevanto
