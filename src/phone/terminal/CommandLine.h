#pragma once

#include <string>
#include <vector>

#include "phone/terminal/PhoneCommands.h"

namespace tevanto::phone {

/// Runs the program with the arguments that follow its name, and returns its exit status.
int runPhone(std::vector<std::string> arguments, PhoneEnvironment environment);

}  // namespace tevanto::phone
