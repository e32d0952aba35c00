#pragma once

#include <functional>

namespace tevanto {

class UserDefaults;

/// CommandModifier is the key that the phone's command modifier presses.
enum class CommandModifier {
  control,  // so that command+C copies, as a Linux user expects
  super
};

/// CommandModifierSource returns the present setting. It is asked for every key stroke, so that a changed
/// setting takes effect at once.
using CommandModifierSource = std::function<CommandModifier()>;

/// Reads the user default "tevanto.linux.commandModifier": "super", or anything else for Control.
CommandModifier commandModifierOf(const UserDefaults& defaults);

}  // namespace tevanto
