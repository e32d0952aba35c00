#include "remote/CommandDispatch.h"

#include <optional>
#include <string>
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

RemoteMessage acknowledgment(bool ok, const std::string& message) {
  RemoteMessage ack;
  ack.type = "ack";
  ack.ok = ok;
  // A script's own text may be anything; what cannot be encoded would cost the phone its answer.
  if (!message.empty()) ack.message = wellFormedUtf8(message);
  return ack;
}

}  // namespace

CommandDispatch::CommandDispatch(Queues queues, Actuators actuators, Reply reply)
    : QueueBound(queues.queue),
      queues_(std::move(queues)),
      actuators_(std::move(actuators)),
      reply_(std::move(reply)),
      apps_(std::make_shared<AppListCache>(
          [shortcuts = actuators_.shortcuts] { return shortcuts->installedApps(); })) {}

void CommandDispatch::setPower(std::shared_ptr<MacPowerManager> power) { power_ = std::move(power); }

std::optional<CommandDispatch::InputOutcome> CommandDispatch::dispatch(RemoteCommand command) {
  assertOnQueue();
  const std::string& type = command.type;
  if (type == "queryApps") {
    sendApps();
  } else if (type == "setKeepAwake" || type == "queryKeepAwake") {
    keepAwake(command);
  } else if (type == "querySystemState") {
    sendSystemState();
  } else if (MacShortcutRunner::handles(type)) {
    runShortcut(std::move(command));
  } else {
    return injectInput(std::move(command));
  }
  return std::nullopt;
}

/// A closure that sends a message from any queue.
auto CommandDispatch::replying() {
  return weakPost([](CommandDispatch& self, const RemoteMessage& message) { self.reply_(message); });
}

void CommandDispatch::sendApps() {
  auto reply = weakPost(
      [](CommandDispatch& self, const std::shared_ptr<const RemoteMessage>& list) { self.reply_(*list); });
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
  auto acknowledge = weakPost([](CommandDispatch& self, const MacShortcutRunner::Result& result) {
    self.reply_(acknowledgment(result.success, result.message));
  });
  auto reply = replying();
  queues_.shortcut->async([shortcuts = actuators_.shortcuts, command = std::move(command),
                           acknowledge = std::move(acknowledge), reply = std::move(reply)] {
    acknowledge(shortcuts->run(command));
    reply(systemState(*shortcuts));
  });
}

// The command is carried out before the reply is written, so that the pointer moves first.
CommandDispatch::InputOutcome CommandDispatch::injectInput(RemoteCommand command) {
  if (!actuators_.permission.isTrusted()) return {false, acknowledgment(false, "accessibility required")};
  queues_.main->dispatch(
      [input = actuators_.input, command = std::move(command)] { input->handle(command); });
  return {true, acknowledgment(true, {})};
}

}  // namespace tevanto
