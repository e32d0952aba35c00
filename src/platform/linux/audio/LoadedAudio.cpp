#include "platform/linux/audio/LoadedAudio.h"

#include <utility>

#include "platform/linux/process/LoadedModule.h"

namespace tevanto {
namespace {

constexpr ModuleEntry<AudioOutput*()> kMakeAudio{"audio", "tevantoMakeAudio"};

}  // namespace

Result<AudioOutput*> LoadedAudio::loaded() {
  if (audio_) return audio_.get();
  auto made = makeFromModule(kMakeAudio);
  if (!made) return Failure{made.error()};
  audio_ = std::move(made).value();
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
