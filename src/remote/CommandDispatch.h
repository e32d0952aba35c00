#pragma once

#include <functional>
#include <memory>
#include <string>

#include "core/queue/SerialQueue.h"
#include "remote/message/RemoteMessage.h"

namespace tevanto {

class AccessibilityPermission;
class AppListCache;
class MacInputController;
class MacPowerManager;
class MacShortcutRunner;

/// Decides who carries out an authorised command and what the phone hears back.
///
///     input      queue: permission --> main queue: inject       queue: "ack" at the end of its turn
///     shortcut   queue --> shortcut queue: run                --> queue: "ack", then "systemState"
///     keep-awake queue --> main queue: switch                 --> queue: "powerState"
///     queryApps  queue --> background queue: list             --> queue: "appList"
///
/// Lives on `Queues::queue`; replies are handed over there, to whichever channel is the current one by then.
class CommandDispatch final : public std::enable_shared_from_this<CommandDispatch> {
 public:
  struct Queues {
    std::shared_ptr<SerialQueue> queue;
    std::shared_ptr<SerialQueue> main;
    std::shared_ptr<SerialQueue> shortcut;    // may block
    std::shared_ptr<SerialQueue> background;  // may block
  };
  struct Actuators {
    std::shared_ptr<MacInputController> input;
    std::shared_ptr<MacShortcutRunner> shortcuts;
    AccessibilityPermission& permission;
  };
  struct Callbacks {
    std::function<void(const RemoteMessage&)> reply;
    /// What every check of the permission to inject input found.
    std::function<void(bool trusted)> permissionChecked;
  };

  CommandDispatch(Queues queues, Actuators actuators, Callbacks callbacks);

  /// Before the first command. Without one, keep-awake commands are answered with "power unavailable".
  void setPower(std::shared_ptr<MacPowerManager> power);
  void dispatch(RemoteCommand command);
  /// Sends a "systemState" message with a fresh snapshot.
  void sendSystemState();
  /// The next list of applications is built anew.
  void forgetApps();

 private:
  auto replying();
  void sendApps();
  void keepAwake(const RemoteCommand& command);
  void runShortcut(RemoteCommand command);
  void injectInput(RemoteCommand command);
  void acknowledge(bool ok, std::string message);

  const Queues queues_;
  const Actuators actuators_;
  const Callbacks callbacks_;
  const std::shared_ptr<AppListCache> apps_;  // on the background queue
  std::shared_ptr<MacPowerManager> power_;
};

}  // namespace tevanto
