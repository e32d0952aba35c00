#pragma once

#include <string>
#include <vector>

namespace tevanto {

/// Runs this program from its beginning in this process, with `arguments` (the first is its name); threads
/// and descriptors of before are gone then. Returns only when the system refuses.
void restartProcess(const std::vector<std::string>& arguments);

}  // namespace tevanto
