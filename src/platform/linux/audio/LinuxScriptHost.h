#pragma once

#include "control/ScriptHost.h"

namespace tevanto {

class LogindSession;
class AudioOutput;

/// LinuxScriptHost carries out the product's few scripts by the audio server and the login service. It knows
/// them word for word; every other text is a "bad script".
class LinuxScriptHost final : public ScriptHost {
 public:
  LinuxScriptHost(AudioOutput& audio, LogindSession& session);
  ScriptResult run(std::string_view source) override;

 private:
  AudioOutput& audio_;
  LogindSession& session_;
};

}  // namespace tevanto
