#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "control/InputEvents.h"
#include "platform/linux/dbus/BusConnection.h"

namespace tevanto {

/// MprisMediaKeys sends media keys to players by the Media Player Remote Interfacing Specification. The
/// player that is playing gets the key, else the one that got the last key, else a paused one, else the first
/// by name. A player that does not answer within `kTimeout` is passed over. Main queue only.
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
