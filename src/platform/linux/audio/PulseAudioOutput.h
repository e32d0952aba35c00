#pragma once

#include <functional>
#include <memory>
#include <string>

#include "core/Result.h"
#include "platform/linux/audio/AudioOutput.h"

namespace tevanto {

/// PulseAudioOutput controls the default sink through the protocol that PulseAudio and PipeWire both serve.
/// It connects on demand, never starts a server, and keeps the connection. Without a thread or a subscription
/// the connection costs nothing while unused. The end of a server is noticed with the next call, which
/// connects anew. A call takes milliseconds, and at most `kTimeoutSeconds` with a server that hangs.
class PulseAudioOutput final : public AudioOutput {
 public:
  static constexpr int kTimeoutSeconds = 2;

  /// `server` as PULSE_SERVER takes it; empty: as the environment says.
  explicit PulseAudioOutput(std::string server = {});
  ~PulseAudioOutput() override;
  PulseAudioOutput(const PulseAudioOutput&) = delete;
  PulseAudioOutput& operator=(const PulseAudioOutput&) = delete;

  Result<int> volume() override;
  Result<void> setVolume(int percent) override;
  Result<bool> isMuted() override;
  Result<void> setMuted(bool muted) override;

 private:
  class Connection;
  template <class T>
  using Request = std::function<Result<T>(Connection&)>;
  /// Runs the request on a connection that stands. One that turns out to have died meanwhile is replaced
  /// once.
  template <class T>
  Result<T> run(const Request<T>& request);

  std::string server_;
  std::unique_ptr<Connection> connection_;
};

}  // namespace tevanto
