#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "core/queue/Published.h"
#include "remote/message/RemoteMessage.h"

namespace tevanto {

class PowerSources;
class SleepAssertions;

/// MacPowerManager is Keep Awake: it holds off idle sleep until the battery falls to its floor or the hours
/// are over. Main queue only; the published values may be read on any thread.
class MacPowerManager {
 public:
  MacPowerManager(std::shared_ptr<SerialQueue> mainQueue, SleepAssertions& assertions, PowerSources& sources);
  ~MacPowerManager();
  MacPowerManager(const MacPowerManager&) = delete;
  MacPowerManager& operator=(const MacPowerManager&) = delete;

  Published<bool> isKeepAwakeOn;
  Published<bool> isHelperReady;
  Published<std::string> statusText;
  Published<std::optional<int>> batteryPercent;
  Published<int> batteryFloor;  // percent
  Published<int> autoOffHours;

  /// Receives a "powerState" message after every change.
  std::function<void(RemoteMessage)> onStateChanged;

  /// True when Keep Awake is now as asked; false when switching it on was refused or failed.
  bool setKeepAwake(bool on);
  void refreshBattery();
  /// The "powerState" message of this moment.
  RemoteMessage stateMessage() const;
  /// Releases the assertion before the process ends.
  void appWillTerminate();

 private:
  bool switchOn();
  void switchOff();
  void startTimers();
  void scheduleBatteryTimer();
  void autoOffTimerFired();
  void batteryTimerFired();
  bool isOnBatteryPower() const;
  /// On battery power with no more than the floor left, by the last reading.
  bool isAtBatteryFloor() const;
  bool holdAssertion();
  void releaseAssertion();
  void report();

  std::shared_ptr<SerialQueue> mainQueue_;
  SleepAssertions& assertions_;
  PowerSources& sources_;
  std::optional<std::uint32_t> sleepAssertionID_;
  Timer autoOffTimer_;
  Timer batteryTimer_;
};

}  // namespace tevanto
