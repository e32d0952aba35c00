#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>

#include "core/queue/Published.h"
#include "core/queue/QueueBound.h"
#include "core/settings/UserDefaults.h"
#include "net/discovery/ServiceAdvertiser.h"
#include "net/tcp/TcpListener.h"
#include "screen/ScreenCaptureSession.h"
#include "screen/ScreenTransport.h"
#include "screen/capture/DisplayCapture.h"
#include "screen/capture/ScreenCapturePermission.h"
#include "screen/encode/EncoderSession.h"

namespace tevanto {

class CaptureGeneration;
class FramedConnection;

/// ScreenStreamServer mirrors the screen to one paired phone at a time, over a TCP connection or an attached
/// transport.
/// Order of events: docs/protocol.md, section 8.1.
///
///     idle --hello--> sharing ("Sharing screen…") --capture runs--> mirroring ("Mirroring to iPhone")
///      ^                                                               |
///      +------- stop message, route lost, capture error, new owner ---+
///
/// Lives on its own queue, "tevanto.screen.server"; the published values may be read anywhere.
class ScreenStreamServer final : public ScreenTransportHost, public QueueBound<ScreenStreamServer> {
 public:
  static constexpr std::uint16_t kDefaultPort = 51638;

  /// Environment holds the services that the server uses. All of them outlive it.
  struct Environment {
    std::shared_ptr<SerialQueue> queue;         // "tevanto.screen.server", of the loop of the sockets
    std::shared_ptr<SerialQueue> captureQueue;  // "tevanto.screen.capture", of a background loop: it encodes
    std::shared_ptr<SerialQueue> mainQueue;
    TcpListenerFactory& listeners;
    ServiceAdvertiser& advertiser;
    UserDefaults& defaults;
    /// True when the phone with this token may watch. Called on `queue`.
    std::function<bool(const std::string& token)> mayWatch;
    std::optional<std::string> computerName;
    std::uint16_t port = kDefaultPort;  // 0: any free one
  };
  /// Machinery holds the sources of pictures, and their encoders.
  struct Machinery {
    DisplayCapture& displays;
    EncoderSessionFactory& encoders;
    ScreenCapturePermission& permission;
  };

  static std::shared_ptr<ScreenStreamServer> create(Environment environment, Machinery machinery);
  ~ScreenStreamServer() override;

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
  void attach(const std::shared_ptr<ScreenTransport>& transport) override;
  void detach(const std::shared_ptr<ScreenTransport>& transport) override;
  /// Asks again whether the screen may be captured. May be called from any thread.
  void refreshScreenRecordingTrust();
  /// Asks the system, and so the user, for the permission, and publishes the outcome. May be called from any
  /// thread, and may wait for the display.
  void requestScreenRecording();

 private:
  /// Sender is the sender of a message: exactly one of the two is set.
  struct Sender {
    std::shared_ptr<FramedConnection> connection;
    std::shared_ptr<ScreenTransport> transport;

    std::weak_ptr<void> identity() const {
      if (connection) return connection;
      return transport;
    }
  };

  ScreenStreamServer(Environment environment, Machinery machinery);

  void startListener();
  void advertise();
  void stopEverything();
  void accept(std::unique_ptr<TcpConnection> connection);
  void connectionEnded(const std::shared_ptr<FramedConnection>& ended);
  void listenTo(const std::shared_ptr<ScreenTransport>& transport);
  void handleMessage(const Sender& sender, std::span<const std::byte> message);
  void handleHello(const Sender& sender, std::span<const std::byte> body);
  void helloOverdue(const std::shared_ptr<FramedConnection>& late);
  void promote(const std::shared_ptr<FramedConnection>& sender);
  void startSession(const std::shared_ptr<void>& owner, const StreamProfile& profile, ScreenRoute route);
  ScreenCaptureSession::Handlers handlersFor(const std::string& generation);
  void endSessionOf(const std::weak_ptr<void>& owner);
  void stopSession();

  const Environment environment_;
  const Machinery machinery_;
  std::unique_ptr<TcpListener> listener_;
  bool stopped_ = false;  // a transport may go on talking
  ServiceAdvertiser::Registration advertisement_;
  std::shared_ptr<FramedConnection> connection_;           // has sent a valid hello
  std::shared_ptr<FramedConnection> candidateConnection_;  // has not yet
  Timer helloTimer_;
  std::weak_ptr<ScreenTransport> attachedTransport_;  // main queue only
  std::weak_ptr<void> captureOwner_;                  // the route of the session: connection or transport
  const std::shared_ptr<CaptureGeneration> captureGeneration_;
  std::unique_ptr<ScreenCaptureSession> session_;
};

}  // namespace tevanto
