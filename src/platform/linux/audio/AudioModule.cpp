#include "platform/linux/audio/PulseAudioOutput.h"

extern "C" __attribute__((visibility("default"))) tevanto::AudioOutput* tevantoMakeAudio() {
  return new tevanto::PulseAudioOutput();
}
