#include "platform/linux/CommandModifier.h"

#include "core/UserDefaults.h"

namespace tevanto {

CommandModifier commandModifierOf(const UserDefaults& defaults) {
  return defaults.stringEquals("tevanto.linux.commandModifier", "super") ? CommandModifier::super
                                                                         : CommandModifier::control;
}

}  // namespace tevanto
