#pragma once

#include <memory>

#include "control/ScriptHost.h"
#include "core/queue/SerialQueue.h"

namespace tevanto {

/// AppleScript, which only the main thread may run: a script that is run elsewhere holds its caller and the
/// main queue until it is done. The first one for another application waits for the user's consent.
class AppleScriptHost final : public ScriptHost {
 public:
  explicit AppleScriptHost(std::shared_ptr<SerialQueue> mainQueue);

  ScriptResult run(std::string_view source) override;
  /// On the main thread, at once.
  static ScriptResult runHere(std::string_view source);

 private:
  const std::shared_ptr<SerialQueue> mainQueue_;
};

}  // namespace tevanto
