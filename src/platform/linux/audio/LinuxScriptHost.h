#pragma once

#include "control/ScriptHost.h"

namespace tevanto {

class LogindSession;
class AudioOutput;

/// Carries out the product's handful of scripts, word for word, by the audio server and the login service;
/// every other text is a "bad script".
class LinuxScriptHost final : public ScriptHost {
 public:
  LinuxScriptHost(AudioOutput& audio, LogindSession& session);
  ScriptResult run(std::string_view source) override;

 private:
  AudioOutput& audio_;
  LogindSession& session_;
};

}  // namespace tevanto
