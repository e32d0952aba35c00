#include "control/MacShortcutRunner.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <set>
#include <utility>

#include "control/AccessibilityPermission.h"
#include "control/InputEvents.h"
#include "control/KeyCodes.h"
#include "control/Workspace.h"
#include "core/queue/SerialQueue.h"
#include "core/text/Base64.h"
#include "core/text/LocalizedOrder.h"
#include "core/text/Text.h"

namespace tevanto {
namespace {

using Outcome = MacShortcutRunner::Result;

std::string nameOf(const ApplicationBundle& bundle) {
  if (bundle.displayName) return *bundle.displayName;
  return bundle.bundleName.value_or(bundle.fileName);
}

/// The texts and dates of an entry must be writable as JSON, or the whole list would be lost with it.
RemoteAppInfo describe(const ApplicationBundle& bundle, Workspace& workspace) {
  RemoteAppInfo info;
  info.name = wellFormedUtf8(nameOf(bundle));
  info.bundleId = *bundle.identifier;
  if (const auto png = workspace.iconPng(bundle)) info.iconPNGBase64 = base64(*png);
  if (bundle.created && std::isfinite(*bundle.created)) info.installedDate = bundle.created;
  return info;
}

bool hasUsableIdentifier(const ApplicationBundle& bundle) {
  return bundle.identifier && !bundle.identifier->empty() &&
         wellFormedUtf8(*bundle.identifier) == *bundle.identifier;
}

int percentOf(double level) {
  return level > 0 ? static_cast<int>(std::lround(std::min(level, 1.0) * 100)) : 0;
}

}  // namespace

MacShortcutRunner::MacShortcutRunner(std::shared_ptr<SerialQueue> mainQueue, ScriptHost& scripts,
                                     Workspace& workspace, InputEvents& events,
                                     AccessibilityPermission& permission)
    : mainQueue_(std::move(mainQueue)),
      scripts_(scripts),
      workspace_(workspace),
      events_(events),
      permission_(permission) {}

bool MacShortcutRunner::handles(std::string_view type) {
  static constexpr std::array<std::string_view, 12> names = {
      "setVolume",     "toggleMute",  "setBrightness", "powerSleep",     "powerLock", "powerRestart",
      "powerShutdown", "powerLogout", "openApp",       "mediaPlayPause", "mediaNext", "mediaPrevious"};
  return std::find(names.begin(), names.end(), type) != names.end();
}

Outcome MacShortcutRunner::run(const RemoteCommand& command) {
  const std::string_view type = command.type;
  if (type == "setVolume") return setVolume(command.level.value_or(0));
  if (type == "toggleMute") return toggleMute();
  if (type == "setBrightness") return {false, "brightness control unavailable in this version"};
  if (type == "powerSleep") return {false, "sleep control unavailable in this version"};
  if (type == "powerLock") return lock();
  if (type == "powerRestart") return power(script::kRestart);
  if (type == "powerShutdown") return power(script::kShutDown);
  if (type == "powerLogout") return power(script::kLogOut);
  if (type == "openApp") return openApplication(command.appId.value_or(""));
  if (type == "mediaPlayPause") return pressMediaKey(MediaKey::play);
  if (type == "mediaNext") return pressMediaKey(MediaKey::next);
  if (type == "mediaPrevious") return pressMediaKey(MediaKey::previous);
  return {false, "unknown shortcut"};
}

VolumeState MacShortcutRunner::volumeState() {
  VolumeState state;
  if (const auto level = outputVolume()) state.volume = *level / 100.0;
  state.muted = outputMuted();
  return state;
}

std::vector<RemoteAppInfo> MacShortcutRunner::installedApps() {
  std::vector<RemoteAppInfo> apps;
  std::set<std::string> taken;
  for (const auto& folder : workspace_.applicationFolders()) {
    for (const auto& bundle : workspace_.applicationsIn(folder)) {
      if (!hasUsableIdentifier(bundle) || !taken.insert(*bundle.identifier).second) continue;
      if (!bundle.hidden) apps.push_back(describe(bundle, workspace_));
    }
  }
  const LocalizedOrder order;
  std::stable_sort(apps.begin(), apps.end(),
                   [&](const auto& a, const auto& b) { return order.compare(a.name, b.name) < 0; });
  return apps;
}

Outcome MacShortcutRunner::runScript(std::string source, std::string success) {
  const auto result = scripts_.run(source);
  if (result.success) return {true, std::move(success)};
  return {false, result.errorMessage.empty() ? "script error" : result.errorMessage};
}

std::optional<std::int32_t> MacShortcutRunner::outputVolume() {
  const auto result = scripts_.run(script::kOutputVolume);
  return result.success ? std::optional(result.number()) : std::nullopt;
}

std::optional<bool> MacShortcutRunner::outputMuted() {
  const auto result = scripts_.run(script::kOutputMuted);
  return result.success ? std::optional(result.boolean()) : std::nullopt;
}

Outcome MacShortcutRunner::setVolume(double level) {
  const auto percent = std::to_string(percentOf(level));
  return runScript(std::string(script::kSetOutputVolume) + percent, "volume " + percent);
}

Outcome MacShortcutRunner::toggleMute() {
  const std::string muted = outputMuted().value_or(false) ? "false" : "true";
  return runScript(std::string(script::kSetOutputMuted) + muted, "muted " + muted);
}

Outcome MacShortcutRunner::power(std::string_view action) {
  return runScript(std::string(script::kSystemEvents) + std::string(action), std::string(action));
}

Outcome MacShortcutRunner::lock() {
  if (!permission_.isTrusted()) return {false, "accessibility required"};
  bool posted = false;
  mainQueue_->sync([&] {
    const auto source = events_.makeEventSource();
    constexpr auto kModifiers = eventFlag::kCommand | eventFlag::kControl;
    posted = events_.postKey({keyCode::kQ, KeyDirection::down, kModifiers, {}, source.get()}) &&
             events_.postKey({keyCode::kQ, KeyDirection::up, kModifiers, {}, source.get()});
  });
  if (!posted) return {false, "lock failed"};
  return {true, "locking"};
}

Outcome MacShortcutRunner::openApplication(const std::string& identifier) {
  const auto location = workspace_.locationOf(identifier);
  if (!location) return {false, "app not found"};
  workspace_.open(*location, Workspace::Activation::activate);
  return {true, "opening"};
}

Outcome MacShortcutRunner::pressMediaKey(MediaKey key) {
  mainQueue_->sync([&] {
    events_.postMediaKey(key, KeyDirection::down);
    events_.postMediaKey(key, KeyDirection::up);
  });
  return {true, "ok"};
}

}  // namespace tevanto
