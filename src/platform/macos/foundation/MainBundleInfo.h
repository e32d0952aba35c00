#pragma once

#include "core/Log.h"
#include "core/settings/InfoPlist.h"

namespace tevanto {

/// The information of the bundle that this program runs from. Empty outside of one; what cannot be read is
/// reported, and empty too.
InfoPlist mainBundleInfo(const Logger& log);

}  // namespace tevanto
