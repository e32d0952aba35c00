#pragma once

#include <string>

#include "core/Result.h"

namespace tevanto {

/// When a module's calls into its libraries are bound: all as it is loaded, which tells at once where one is
/// missing, or each as it is made first, which loads a module sooner whose libraries are large.
enum class Binding { atOnce, onCall };

/// A part of the program that is loaded when it is first used and stays until the end: it brings libraries
/// along that most runs do not need. Lies in lib/tevanto beside the bin folder of the program.
///
/// The function of this name in it, or why there is none. A program whose own file was replaced loads nothing
/// more: the modules beside it are of another version.
Result<void*> functionOfModule(const std::string& module, const std::string& function,
                               Binding binding = Binding::atOnce);

}  // namespace tevanto
