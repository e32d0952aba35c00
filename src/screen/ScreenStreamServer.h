#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "core/Published.h"
#include "core/UserDefaults.h"
#include "net/ServiceAdvertiser.h"
#include "net/TcpListener.h"
#include "screen/DisplayCapture.h"
#include "screen/EncoderSession.h"
#include "screen/ScreenCapturePermission.h"
#include "screen/ScreenTransport.h"

namespace tevanto {

/// Mirrors the screen to one paired phone at a time, over a TCP connection or over an attached transport.
///
///     idle --hello--> sharing ("Sharing screen…") --capture runs--> mirroring ("Mirroring to iPhone")
///      ^                                                               |
///      +------- stop message, route lost, capture error, new owner ---+
///
/// Lives on its own queue, "tevanto.screen.server"; the published values may be read anywhere.
class ScreenStreamServer final : public std::enable_shared_from_this<ScreenStreamServer> {
 public:
  static constexpr std::uint16_t kDefaultPort = 51638;

  /// What the server stands on. Everything outlives it.
  struct Environment {
    std::shared_ptr<SerialQueue> queue;         // "tevanto.screen.server", of the loop of the sockets
    std::shared_ptr<SerialQueue> captureQueue;  // "tevanto.screen.capture", of a background loop: it encodes
    std::shared_ptr<SerialQueue> mainQueue;
    TcpListenerFactory& listeners;
    ServiceAdvertiser& advertiser;
    UserDefaults& defaults;
    std::optional<std::string> computerName;
    std::uint16_t port = kDefaultPort;  // 0: any free one
  };
  /// Where the pictures come from and who encodes them.
  struct Machinery {
    DisplayCapture& displays;
    EncoderSessionFactory& encoders;
    ScreenCapturePermission& permission;
  };

  static std::shared_ptr<ScreenStreamServer> create(Environment environment, Machinery machinery);
  ~ScreenStreamServer();

  /// A session is delivering video.
  Published<bool> isStreaming;
  /// For the panel; empty when idle.
  Published<std::string> statusText;
  Published<bool> isScreenRecordingTrusted;
  /// The port it listens on; 0 until it does.
  Published<std::uint16_t> port;
  /// How far the service is visible on the local network.
  Published<AdvertisingStatus> advertising;

  /// Starts the listener; again: nothing. May be called from any thread.
  void start();
  /// Ends the listener, the advertisement, the connections and the session. May be called twice, from any
  /// thread.
  void stop();
  /// Makes `transport` the second route, in place of the one attached before. On the main queue.
  void attach(const std::shared_ptr<ScreenTransport>& transport);
  /// Asks again whether the screen may be captured. May be called from any thread.
  void refreshScreenRecordingTrust();

 private:
  struct Route;
  struct Session;
  class State;

  ScreenStreamServer(Environment environment, Machinery machinery);

  std::shared_ptr<State> state_;
};

}  // namespace tevanto
