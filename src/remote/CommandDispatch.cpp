#include "remote/CommandDispatch.h"

#include <cassert>
#include <optional>
#include <utility>

#include "control/AccessibilityPermission.h"
#include "control/MacInputController.h"
#include "control/MacPowerManager.h"
#include "control/MacShortcutRunner.h"
#include "core/text/Text.h"
#include "remote/AppListCache.h"

namespace tevanto {
namespace {

/// Reads the state through scripts, which may block. Brightness cannot be read in this version.
RemoteMessage systemState(MacShortcutRunner& shortcuts) {
  const auto volume = shortcuts.volumeState();
  RemoteMessage message;
  message.type = "systemState";
  message.volume = volume.volume;
  message.muted = volume.muted;
  return message;
}

RemoteMessage powerUnavailable() {
  RemoteMessage message;
  message.type = "powerState";
  message.ok = false;
  message.message = "power unavailable";
  return message;
}

}  // namespace

CommandDispatch::CommandDispatch(Queues queues, Actuators actuators, Callbacks callbacks)
    : queues_(std::move(queues)),
      actuators_(std::move(actuators)),
      callbacks_(std::move(callbacks)),
      apps_(std::make_shared<AppListCache>(
          [shortcuts = actuators_.shortcuts] { return shortcuts->installedApps(); })) {}

void CommandDispatch::setPower(std::shared_ptr<MacPowerManager> power) { power_ = std::move(power); }

void CommandDispatch::dispatch(RemoteCommand command) {
  assert(queues_.queue->isCurrent() && "commands are dispatched on the server's queue");
  const std::string& type = command.type;
  if (type == "queryApps") return sendApps();
  if (type == "setKeepAwake" || type == "queryKeepAwake") return keepAwake(command);
  if (type == "querySystemState") return sendSystemState();
  if (MacShortcutRunner::handles(type)) return runShortcut(std::move(command));
  injectInput(std::move(command));
}

/// Sends a message from any queue.
auto CommandDispatch::replying() {
  return weakly(shared_from_this(), queues_.queue,
                [](CommandDispatch& self, const RemoteMessage& message) { self.callbacks_.reply(message); });
}

void CommandDispatch::sendApps() {
  auto reply = weakly(shared_from_this(), queues_.queue,
                      [](CommandDispatch& self, const std::shared_ptr<const RemoteMessage>& list) {
                        self.callbacks_.reply(*list);
                      });
  queues_.background->async([apps = apps_, queue = queues_.background, reply = std::move(reply)] {
    reply(apps->message(queue->now()));
  });
}

void CommandDispatch::forgetApps() {
  queues_.background->async([apps = apps_] { apps->clear(); });
}

void CommandDispatch::keepAwake(const RemoteCommand& command) {
  auto reply = replying();
  std::optional<bool> wanted;
  if (command.type == "setKeepAwake") wanted = command.on.value_or(false);
  queues_.main->async([power = power_, wanted, reply = std::move(reply)] {
    if (!power) return reply(powerUnavailable());
    if (wanted) power->setKeepAwake(*wanted);
    reply(power->stateMessage());
  });
}

void CommandDispatch::sendSystemState() {
  auto reply = replying();
  queues_.shortcut->async(
      [shortcuts = actuators_.shortcuts, reply = std::move(reply)] { reply(systemState(*shortcuts)); });
}

void CommandDispatch::runShortcut(RemoteCommand command) {
  auto acknowledge =
      weakly(shared_from_this(), queues_.queue, [](CommandDispatch& self, MacShortcutRunner::Result result) {
        self.acknowledge(result.success, std::move(result.message));
      });
  auto reply = replying();
  queues_.shortcut->async([shortcuts = actuators_.shortcuts, command = std::move(command),
                           acknowledge = std::move(acknowledge), reply = std::move(reply)] {
    acknowledge(shortcuts->run(command));
    reply(systemState(*shortcuts));
  });
}

// The command is carried out before the answer is written, so that the pointer moves first.
void CommandDispatch::injectInput(RemoteCommand command) {
  const bool trusted = actuators_.permission.isTrusted();
  callbacks_.permissionChecked(trusted);
  if (!trusted) return acknowledge(false, "accessibility required");
  queues_.main->dispatch(
      [input = actuators_.input, command = std::move(command)] { input->handle(command); });
  acknowledge(true, {});
}

void CommandDispatch::acknowledge(bool ok, std::string message) {
  RemoteMessage ack;
  ack.type = "ack";
  ack.ok = ok;
  // A script's own text may be anything; what cannot be encoded would cost the phone its answer.
  if (!message.empty()) ack.message = wellFormedUtf8(message);
  callbacks_.reply(ack);
}

}  // namespace tevanto
