#pragma once

#include <functional>

namespace tevanto {

class UserDefaults;

/// The key that the phone's command modifier presses.
enum class CommandModifier {
  control,  // so that command+C copies, as a Linux user expects
  super
};

/// Asked for every key stroke, so that a changed setting takes effect at once.
using CommandModifierSource = std::function<CommandModifier()>;

/// The user default "tevanto.linux.commandModifier": "super", or anything else for Control.
CommandModifier commandModifierOf(const UserDefaults& defaults);

}  // namespace tevanto
