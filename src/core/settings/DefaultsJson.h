#pragma once

#include <boost/json/value.hpp>
#include <optional>

#include "core/settings/UserDefaults.h"

namespace tevanto {

/// A setting in JSON. JSON has no type for data: it becomes an object with one member, {"base64": "..."}.
boost::json::value jsonOf(const DefaultsValue& value);

/// The setting that such a value is; nothing for null, other objects, arrays of anything but strings, and
/// integers beyond int64.
std::optional<DefaultsValue> defaultsValueOfJson(const boost::json::value& stored);

}  // namespace tevanto
