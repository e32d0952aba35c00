#pragma once

#include <string>
#include <vector>

namespace tevanto {

/// Runs this program from its beginning in this process, with `arguments`, the first of which is its name.
/// Threads and descriptors end with the call. Returns only when the system refuses.
void restartProcess(const std::vector<std::string>& arguments);

}  // namespace tevanto
