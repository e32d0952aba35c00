#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace tevanto::phone {

/// NamedKey is a key by the name that the companion knows, and whether shift is held with it.
struct NamedKey {
  std::string key;
  bool shift = false;

  bool operator==(const NamedKey&) const = default;
};

/// The key for a name ("escape", "tab", "return", "delete", "space", "left", ... in any case) or for one
/// character of the US layout, shifted ones included. Nothing when no key prints it.
std::optional<NamedKey> keyNamed(std::string_view name);

/// The names, for help.
std::string keyNames();

}  // namespace tevanto::phone
