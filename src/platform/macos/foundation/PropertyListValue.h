#pragma once

#include <optional>

#include "control/UserPreferences.h"
#include "core/settings/UserDefaults.h"

namespace tevanto {

/// A property list in the shapes that matter here, for Objective-C++ sources. Dates and dictionary keys that
/// are no text are left out, of arrays too; nothing when the whole is of that kind.
std::optional<PreferenceValue> preferenceValueOf(id propertyList);
/// The other way round.
id propertyListOf(const DefaultsValue& value);

}  // namespace tevanto
