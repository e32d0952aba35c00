#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "control/ScriptHost.h"
#include "remote/message/RemoteMessage.h"

namespace tevanto {

class AccessibilityPermission;
class InputEvents;
class SerialQueue;
class Workspace;
enum class MediaKey;

/// VolumeState is the volume of the chosen output; values that cannot be read are absent.
struct VolumeState {
  std::optional<double> volume;  // 0 to 1
  std::optional<bool> muted;
};

/// MacShortcutRunner performs the phone's system shortcuts and lists the applications.
///
/// Called on a queue of its own, "tevanto.shortcuts", never on the main queue: scripts may block. It posts
/// events on the main queue and waits for them. `installedApps` may be called from any thread.
class MacShortcutRunner {
 public:
  /// Result is the outcome of a shortcut, with the text for the phone.
  struct Result {
    bool success = false;
    std::string message;
  };

  MacShortcutRunner(std::shared_ptr<SerialQueue> mainQueue, ScriptHost& scripts, Workspace& workspace,
                    InputEvents& events, AccessibilityPermission& permission);

  /// True when `type` is a command of this class.
  static bool handles(std::string_view type);

  Result run(const RemoteCommand& command);
  VolumeState volumeState();
  std::vector<RemoteAppInfo> installedApps();

 private:
  Result runScript(std::string source, std::string success);
  std::optional<std::int32_t> outputVolume();  // percent
  std::optional<bool> outputMuted();
  Result setVolume(double level);
  Result toggleMute();
  Result power(std::string_view action);
  Result lock();
  Result openApplication(const std::string& identifier);
  Result pressMediaKey(MediaKey key);

  std::shared_ptr<SerialQueue> mainQueue_;
  ScriptHost& scripts_;
  Workspace& workspace_;
  InputEvents& events_;
  AccessibilityPermission& permission_;
};

}  // namespace tevanto
