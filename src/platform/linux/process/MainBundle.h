#pragma once

#include "core/Log.h"
#include "core/settings/InfoPlist.h"

namespace tevanto {

/// Loads the bundle information that was installed with this program, share/tevanto/Info.plist beside its bin
/// folder. It is empty where there is no such file. A file that cannot be read is logged and counts as empty.
InfoPlist mainBundleInfo(const Logger& log);

}  // namespace tevanto
