#pragma once

#include <cstdint>
#include <variant>
#include <vector>

#include "remote/message/RemoteMessage.h"

namespace tevanto {

class UserPreferences;

/// SymbolicHotKeys finds the user's own shortcuts for system gestures. They are read afresh for every
/// gesture.
class SymbolicHotKeys {
 public:
  struct NotDefined {};
  struct Disabled {};
  struct KeyStroke {
    std::uint16_t keyCode = 0;
    std::vector<RemoteModifier> modifiers;
    bool operator==(const KeyStroke&) const = default;
  };
  using Lookup = std::variant<NotDefined, Disabled, KeyStroke>;

  explicit SymbolicHotKeys(UserPreferences& preferences) : preferences_(preferences) {}
  Lookup find(int identifier) const;

 private:
  UserPreferences& preferences_;
};

}  // namespace tevanto
