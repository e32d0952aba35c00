#pragma once

#include <memory>

#include "platform/linux/audio/AudioOutput.h"

namespace tevanto {

/// LoadedAudio is the audio output of a module that is loaded with the first call. The module's library
/// brings a dozen others along, for codecs for example, which would take a tenth of the program's start.
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
