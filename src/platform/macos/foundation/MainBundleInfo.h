#pragma once

#include "core/Log.h"
#include "core/settings/InfoPlist.h"

namespace tevanto {

/// Reads the information of the bundle that this program runs from. Empty outside of a bundle. Information
/// that cannot be read is logged, and empty too.
InfoPlist mainBundleInfo(const Logger& log);

}  // namespace tevanto
