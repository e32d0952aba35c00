#include "platform/linux/AudioModule.h"

#include "platform/linux/PulseAudioOutput.h"

extern "C" __attribute__((visibility("default"))) tevanto::AudioOutput* tevantoMakeAudio() {
  return new tevanto::PulseAudioOutput();
}
