#pragma once

#include <string>

namespace tevanto {

/// Describes for a person how many fonts there are and which of them the windows use; empty when there is
/// none.
std::string describeInstalledFonts();

}  // namespace tevanto
