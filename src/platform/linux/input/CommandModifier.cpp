#include "platform/linux/input/CommandModifier.h"

#include "core/settings/UserDefaults.h"

namespace tevanto {

CommandModifier commandModifierOf(const UserDefaults& defaults) {
  return defaults.stringEquals("tevanto.linux.commandModifier", "super") ? CommandModifier::super
                                                                         : CommandModifier::control;
}

}  // namespace tevanto
