#pragma once

#include <optional>

namespace tevanto {

/// A setting of the user's in GSettings, where GNOME and its relatives keep theirs; nothing where that schema
/// or key is not installed. `key` is of the type boolean.
std::optional<bool> gsettingsBoolean(const char* schema, const char* key);

}  // namespace tevanto
