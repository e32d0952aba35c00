#pragma once

#include <string>

namespace tevanto {

/// How many fonts there are and which of them the windows use, for a person; empty when there is none.
std::string describeInstalledFonts();

}  // namespace tevanto
