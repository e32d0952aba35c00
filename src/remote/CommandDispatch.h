#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "core/queue/QueueBound.h"
#include "remote/message/RemoteMessage.h"

namespace tevanto {

class AccessibilityPermission;
class AppListCache;
class MacInputController;
class MacPowerManager;
class MacShortcutRunner;

/// CommandDispatch hands an authorized command to the object that carries it out, and makes the reply.
/// Commands and their replies: docs/protocol.md, section 5.4. The reply to an input command is returned at
/// once; every other command is answered later.
///
///     input      queue: permission --> main queue: inject       returned: "ack"
///     shortcut   queue --> shortcut queue: run                --> reply: "ack", then "systemState"
///     keep-awake queue --> main queue: switch                 --> reply: "powerState"
///     queryApps  queue --> background queue: list             --> reply: "appList"
///
/// Lives on `Queues::queue`, where later replies are handed over too.
class CommandDispatch final : public QueueBound<CommandDispatch> {
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
  /// The outcome of an input command.
  struct InputOutcome {
    bool trusted = false;  // the system lets this process inject input
    RemoteMessage reply;
  };
  /// Sends the reply to a command that was dispatched earlier.
  using Reply = std::function<void(const RemoteMessage&)>;

  CommandDispatch(Queues queues, Actuators actuators, Reply reply);

  /// Before the first command. Without one, keep-awake commands are answered with "power unavailable".
  void setPower(std::shared_ptr<MacPowerManager> power);
  /// The outcome of an input command; nothing for a command that is answered later.
  [[nodiscard]] std::optional<InputOutcome> dispatch(RemoteCommand command);
  /// Sends a "systemState" message with a fresh snapshot.
  void sendSystemState();
  /// The next list of applications is built anew.
  void forgetApps();

 private:
  auto replying();
  void sendApps();
  void keepAwake(const RemoteCommand& command);
  void runShortcut(RemoteCommand command);
  InputOutcome injectInput(RemoteCommand command);

  const Queues queues_;
  const Actuators actuators_;
  const Reply reply_;
  const std::shared_ptr<AppListCache> apps_;  // on the background queue
  std::shared_ptr<MacPowerManager> power_;
};

}  // namespace tevanto
