#pragma once

#include "core/Log.h"
#include "core/settings/InfoPlist.h"

namespace tevanto {

/// The bundle information that was installed with this program: share/tevanto/Info.plist beside its bin
/// folder. Empty without one; one that cannot be read is reported, and empty too.
InfoPlist mainBundleInfo(const Logger& log);

}  // namespace tevanto
