#include "control/MacPowerManager.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <utility>

#include "control/PowerSources.h"
#include "control/SleepAssertions.h"

namespace tevanto {
namespace {

constexpr std::string_view kReason = "Tevanto is keeping this Mac available after screen lock";
constexpr std::chrono::seconds kBatteryInterval{60};
constexpr int kMaxAutoOffHours = 24 * 365 * 100;  // longer would overflow the clock

std::optional<int> percentOf(const PowerSource& source) {
  if (!source.currentCapacity || !source.maxCapacity || *source.maxCapacity < 1) return std::nullopt;
  const double fraction =
      static_cast<double>(*source.currentCapacity) / static_cast<double>(*source.maxCapacity);
  return static_cast<int>(std::round(std::clamp(fraction, 0.0, 1.0) * 100));
}

std::string withCode(std::string text, SleepAssertions::Code code) {
  return std::move(text) + " (" + std::to_string(code) + ")";
}

}  // namespace

MacPowerManager::MacPowerManager(std::shared_ptr<SerialQueue> mainQueue, SleepAssertions& assertions,
                                 PowerSources& sources)
    : isKeepAwakeOn(mainQueue, false),
      isHelperReady(mainQueue, true),
      statusText(mainQueue, "Keep Awake off"),
      batteryPercent(mainQueue, std::nullopt),
      batteryFloor(mainQueue, 20),
      autoOffHours(mainQueue, 8),
      mainQueue_(std::move(mainQueue)),
      assertions_(assertions),
      sources_(sources) {
  refreshBattery();
}

MacPowerManager::~MacPowerManager() { releaseAssertion(); }

bool MacPowerManager::setKeepAwake(bool on) {
  if (on) return switchOn();
  switchOff();
  return true;
}

bool MacPowerManager::switchOn() {
  if (isAtBatteryFloor()) {
    statusText.set("Battery too low (" + std::to_string(*batteryPercent.get()) + "%) to keep awake");
    report();
    return false;
  }
  if (!holdAssertion()) {
    report();
    return false;
  }
  isKeepAwakeOn.set(true);
  statusText.set("Keeps running after screen lock");
  refreshBattery();
  startTimers();
  report();
  return true;
}

void MacPowerManager::switchOff() {
  releaseAssertion();
  isKeepAwakeOn.set(false);
  statusText.set("Keep Awake off");
  autoOffTimer_ = {};
  batteryTimer_ = {};
  report();
}

void MacPowerManager::refreshBattery() {
  std::optional<int> percent;
  for (const auto& source : sources_.snapshot()) {
    percent = percentOf(source);
    if (percent) break;
  }
  batteryPercent.set(percent);
}

RemoteMessage MacPowerManager::stateMessage() const {
  RemoteMessage message;
  message.type = "powerState";
  message.message = statusText.get();
  message.keepAwakeOn = isKeepAwakeOn.get();
  message.helperReady = isHelperReady.get();
  message.batteryPercent = batteryPercent.get();
  return message;
}

void MacPowerManager::appWillTerminate() { releaseAssertion(); }

void MacPowerManager::startTimers() {
  const std::chrono::hours hours(std::clamp(autoOffHours.get(), 1, kMaxAutoOffHours));
  autoOffTimer_ = mainQueue_->asyncAfter(hours, [this] { autoOffTimerFired(); });
  scheduleBatteryTimer();
}

void MacPowerManager::scheduleBatteryTimer() {
  batteryTimer_ = mainQueue_->asyncAfter(kBatteryInterval, [this] { batteryTimerFired(); });
}

void MacPowerManager::autoOffTimerFired() {
  // Switching off writes its own text over this one at once; only who observes the text itself sees it.
  statusText.set("Auto-off after " + std::to_string(autoOffHours.get()) + "h");
  switchOff();
}

void MacPowerManager::batteryTimerFired() {
  scheduleBatteryTimer();
  refreshBattery();
  if (!isKeepAwakeOn.get() || !isAtBatteryFloor()) return;
  statusText.set("Battery floor hit (" + std::to_string(*batteryPercent.get()) + "%), turning off");
  switchOff();
}

bool MacPowerManager::isOnBatteryPower() const {
  const auto sources = sources_.snapshot();
  return std::any_of(sources.begin(), sources.end(),
                     [](const auto& source) { return source.state == PowerSources::kBatteryPower; });
}

bool MacPowerManager::isAtBatteryFloor() const {
  const auto percent = batteryPercent.get();
  return isOnBatteryPower() && percent && *percent <= batteryFloor.get();
}

bool MacPowerManager::holdAssertion() {
  if (sleepAssertionID_) return true;
  const auto created = assertions_.create(SleepAssertions::kPreventUserIdleSystemSleep, kReason);
  if (created.code != 0) {
    statusText.set(withCode("Couldn't enable Keep Awake", created.code));
    return false;
  }
  sleepAssertionID_ = created.identifier;
  return true;
}

void MacPowerManager::releaseAssertion() {
  const auto held = std::exchange(sleepAssertionID_, std::nullopt);
  if (!held) return;
  const auto code = assertions_.release(*held);
  if (code != 0) statusText.set(withCode("Couldn't disable Keep Awake", code));
}

void MacPowerManager::report() {
  if (const auto notify = onStateChanged) notify(stateMessage());
}

}  // namespace tevanto
