#pragma once

#include <optional>
#include <string>

#include "remote/message/RemoteMessage.h"

namespace tevanto {

RemoteMessage makeMessage(const char* type);
/// Says no, and why.
RemoteMessage rejection(const char* type, const char* reason);
/// A message in which this computer introduces itself.
RemoteMessage introduction(const char* type, const std::optional<std::string>& hostName,
                           const std::string& deviceID);

}  // namespace tevanto
