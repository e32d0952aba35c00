#pragma once

#include <memory>

#include "platform/linux/audio/AudioOutput.h"

namespace tevanto {

/// The audio output of a module that is loaded with the first call: its library brings a dozen others along,
/// for codecs and the like, which take a tenth of a start.
class LoadedAudio final : public AudioOutput {
 public:
  Result<int> volume() override;
  Result<void> setVolume(int percent) override;
  Result<bool> isMuted() override;
  Result<void> setMuted(bool muted) override;

 private:
  Result<AudioOutput*> loaded();

  std::unique_ptr<AudioOutput> audio_;
};

}  // namespace tevanto
