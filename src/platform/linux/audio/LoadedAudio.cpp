#include "platform/linux/audio/LoadedAudio.h"

#include "platform/linux/audio/AudioModule.h"
#include "platform/linux/process/ProgramModule.h"

namespace tevanto {

Result<AudioOutput*> LoadedAudio::loaded() {
  if (audio_) return audio_.get();
  const auto make = functionOfModule(kAudioModule, kMakeAudio);
  if (!make) return Failure{make.error()};
  audio_.reset(reinterpret_cast<MakeAudio>(make.value())());
  return audio_.get();
}

Result<int> LoadedAudio::volume() {
  const auto audio = loaded();
  if (!audio) return Failure{audio.error()};
  return audio.value()->volume();
}

Result<void> LoadedAudio::setVolume(int percent) {
  const auto audio = loaded();
  if (!audio) return Failure{audio.error()};
  return audio.value()->setVolume(percent);
}

Result<bool> LoadedAudio::isMuted() {
  const auto audio = loaded();
  if (!audio) return Failure{audio.error()};
  return audio.value()->isMuted();
}

Result<void> LoadedAudio::setMuted(bool muted) {
  const auto audio = loaded();
  if (!audio) return Failure{audio.error()};
  return audio.value()->setMuted(muted);
}

}  // namespace tevanto
