#pragma once

#include <cstddef>

namespace tevanto::bench {

/// How many times this process has asked operator new for memory so far.
std::size_t allocationCount();

}  // namespace tevanto::bench
