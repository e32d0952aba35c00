#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "screen/ScreenTransport.h"

namespace tevanto {

/// What the screen's service tells about itself.
struct ScreenServiceState {
  bool isStreaming = false;
  std::string statusText;  // for a person; empty when there is nothing to tell
  bool isScreenRecordingTrusted = false;
  std::string encoder;     // in use, or used last; empty before the first session
  std::uint16_t port = 0;  // 0 until it listens

  bool operator==(const ScreenServiceState&) const = default;
};

/// The service that mirrors the screen to the phone, as the runtime drives it. Main queue only.
class ScreenService : public ScreenTransportHost {
 public:
  /// Once; never fails, `state` tells how it went.
  virtual void start() = 0;
  /// Ends every session and gives its port back. May be called twice.
  virtual void stop() = 0;
  /// As it was last known; never waits for the display or the encoder.
  virtual ScreenServiceState state() const = 0;
  /// Calls `changed` on the main queue after each change of what a person sees of the state, for as long as
  /// the subscription is held. Drop it on the main queue.
  [[nodiscard]] virtual std::shared_ptr<void> observe(std::function<void()> changed) = 0;
  /// Asks the system, and so the user, for the permission to capture the screen.
  virtual void requestScreenRecording() = 0;
};

/// For a build without mirroring.
class UnavailableScreenService final : public ScreenService {
 public:
  void start() override {}
  void stop() override {}
  void attach(const std::shared_ptr<ScreenTransport>&) override {}
  void detach(const std::shared_ptr<ScreenTransport>&) override {}
  ScreenServiceState state() const override {
    ScreenServiceState now;
    now.statusText = "Mirroring is not part of this build";
    return now;
  }
  std::shared_ptr<void> observe(std::function<void()>) override { return nullptr; }
  void requestScreenRecording() override {}
};

}  // namespace tevanto
