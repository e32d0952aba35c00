#pragma once

#include <cstddef>

namespace tevanto::relay {

/// Lets this process open as many files as it may without privileges (setrlimit(2)): each connection is one.
/// Returns their number.
std::size_t raiseDescriptorLimit();

}  // namespace tevanto::relay
