#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "control/InputEvents.h"
#include "platform/linux/dbus/BusConnection.h"

namespace tevanto {

/// Media keys through the Media Player Remote Interfacing Specification: the player that is playing gets the
/// key, else the one that got the last key, else a paused one, else the first by name. Main queue only. It
/// waits for no player longer than `kTimeout`: one that hangs is passed over.
class MprisMediaKeys {
 public:
  static constexpr std::chrono::milliseconds kTimeout{200};

  explicit MprisMediaKeys(BusAddress sessionBus = BusAddress::session());
  /// False when no player can be controlled.
  bool press(MediaKey key);

 private:
  std::optional<std::string> choosePlayer(BusConnection& bus) const;

  BusAddress sessionBus_;
  std::string lastPlayer_;
};

}  // namespace tevanto
