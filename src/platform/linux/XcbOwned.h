#pragma once

#include <cstdlib>
#include <memory>

namespace tevanto {

struct FreeDeleter {
  void operator()(void* memory) const { std::free(memory); }
};
/// Replies and events of XCB, which are to be freed.
template <class T>
using XcbOwned = std::unique_ptr<T, FreeDeleter>;

}  // namespace tevanto
