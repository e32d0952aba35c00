#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string_view>

namespace tevanto {

/// Returns the integer of this name in a list of settings, as freedesktop.org's XSETTINGS protocol lays it
/// out. Returns nothing where it is missing, is no integer, or the list is broken before it.
///
///     list:    byte order, 1 (0: least significant first) | unused, 3 | serial, 4 | number of settings, 4
///     setting: type, 1 | unused, 1 | length of the name, 2 | name, padded to 4 | serial, 4 | value
///     type 0:  integer, 4
///     type 1:  length, 4 | text, padded to 4
///     type 2:  four numbers of a color, 2 each
std::optional<std::int32_t> integerInXSettings(std::span<const std::byte> settings, std::string_view name);

/// XSettings reads the settings that the settings daemon of an X desktop publishes for every toolkit. It has
/// a connection of its own to the X server of DISPLAY. One thread.
class XSettings {
 public:
  /// Null where there is no X server.
  static std::unique_ptr<XSettings> connect();
  ~XSettings();
  XSettings(const XSettings&) = delete;
  XSettings& operator=(const XSettings&) = delete;

  /// The present value; nothing where no daemon runs, or it does not publish the setting.
  std::optional<std::int32_t> integer(std::string_view name) const;

  /// Becomes readable when something may have changed.
  int descriptor() const;
  /// Reads the events that have come; false once the X server has gone.
  bool readEvents();

 private:
  struct Core;

  explicit XSettings(std::unique_ptr<Core> connection);

  const std::unique_ptr<Core> core_;
};

}  // namespace tevanto
