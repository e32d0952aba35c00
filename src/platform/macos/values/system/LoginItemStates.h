#pragma once

#include "control/LoginItem.h"

namespace tevanto {

/// The status of a login-item service by its number (SMAppServiceStatus); one that is not known yet counts as
/// unknown.
LoginItemStatus loginItemStatusOf(long serviceStatus);

}  // namespace tevanto
