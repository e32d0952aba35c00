#pragma once

#include <optional>

namespace tevanto {

/// Reads a setting of the user from GSettings, where GNOME and related desktops keep theirs. Returns nothing
/// where that schema or key is not installed. `key` is of the type boolean.
std::optional<bool> gsettingsBoolean(const char* schema, const char* key);

}  // namespace tevanto
