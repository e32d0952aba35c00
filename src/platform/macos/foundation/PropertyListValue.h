#pragma once

#include <optional>

#include "control/UserPreferences.h"
#include "core/settings/UserDefaults.h"

namespace tevanto {

/// Converts a property list, for Objective-C++ sources. Dates and dictionary keys that are no text are left
/// out, in arrays too; empty when the whole is of that kind.
std::optional<PreferenceValue> preferenceValueOf(id propertyList);
/// Converts a value to a property list.
id propertyListOf(const DefaultsValue& value);

}  // namespace tevanto
