#pragma once

namespace tevanto {

/// The module that holds the program: its command line, the companion and all that the companion stands on
/// but its windows. The function takes what `main` gets, and returns the program's exit status.
inline constexpr auto* kCompanionModule = "companion";
inline constexpr auto* kRunProgram = "tevantoRunProgram";
using RunProgram = int (*)(int argc, char** argv);

}  // namespace tevanto
