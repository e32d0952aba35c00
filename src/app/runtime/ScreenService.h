#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "screen/ScreenTransport.h"

namespace tevanto {

/// ScreenServiceState is the published state of the screen's service.
struct ScreenServiceState {
  bool isStreaming = false;
  std::string statusText;  // for a person; empty when there is nothing to report
  bool isScreenRecordingTrusted = false;
  std::string encoder;     // in use, or used last; empty before the first session
  std::uint16_t port = 0;  // 0 until it listens

  bool operator==(const ScreenServiceState&) const = default;
};

/// ScreenService mirrors the screen to the phone; the interface by which the runtime drives it. Main queue
/// only.
class ScreenService : public ScreenTransportHost {
 public:
  /// Once. Never fails; `state` shows the outcome.
  virtual void start() = 0;
  /// Ends every session and gives its port back. May be called twice.
  virtual void stop() = 0;
  /// The last known state; never waits for the display or the encoder.
  virtual ScreenServiceState state() const = 0;
  /// Calls `changed` on the main queue after each change of the state that a person sees, for as long as the
  /// subscription is held. Drop it on the main queue.
  [[nodiscard]] virtual std::shared_ptr<void> observe(std::function<void()> changed) = 0;
  /// Asks the system, and so the user, for the permission to capture the screen.
  virtual void requestScreenRecording() = 0;
};

}  // namespace tevanto
