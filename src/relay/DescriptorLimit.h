#pragma once

#include <cstddef>

namespace tevanto::relay {

/// Lets this process open as many files as it may without privileges (setrlimit(2)): each connection is one.
/// Gives back how many that are.
std::size_t raiseDescriptorLimit();

}  // namespace tevanto::relay
