#pragma once

#include "core/Result.h"

namespace tevanto {

/// AudioOutput reads and sets volume and mute of the output that the user hears. Failures are short texts for
/// the phone. Any thread, one call at a time.
class AudioOutput {
 public:
  virtual ~AudioOutput() = default;

  /// The volume of the loudest channel, 0 to 100 percent of the reference volume; louder ones count as 100.
  virtual Result<int> volume() = 0;
  /// Sets the loudest channel to `percent`, 0 to 100, and the others in proportion, so that the balance
  /// stays.
  virtual Result<void> setVolume(int percent) = 0;
  virtual Result<bool> isMuted() = 0;
  virtual Result<void> setMuted(bool muted) = 0;
};

}  // namespace tevanto
