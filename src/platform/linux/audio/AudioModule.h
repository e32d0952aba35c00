#pragma once

namespace tevanto {

class AudioOutput;

/// The module that speaks to the audio server, and the function in it that makes the output, which the caller
/// owns.
inline constexpr auto* kAudioModule = "audio";
inline constexpr auto* kMakeAudio = "tevantoMakeAudio";
using MakeAudio = AudioOutput* (*)();

}  // namespace tevanto
