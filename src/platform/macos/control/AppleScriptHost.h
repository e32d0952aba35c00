#pragma once

#include <memory>

#include "control/ScriptHost.h"
#include "core/queue/SerialQueue.h"

namespace tevanto {

/// AppleScriptHost runs AppleScript, which only the main thread may do. A call from another thread blocks
/// that thread and the main queue until the script is done. The first script for another application waits
/// for the user's consent.
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
