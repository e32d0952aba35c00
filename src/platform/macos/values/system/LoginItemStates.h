#pragma once

#include "control/LoginItem.h"

namespace tevanto {

/// Translates the number of a login item's status (SMAppServiceStatus). A number that this program does not
/// know becomes `unknown`.
LoginItemStatus loginItemStatusOf(long serviceStatus);

}  // namespace tevanto
