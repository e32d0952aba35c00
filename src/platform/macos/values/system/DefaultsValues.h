#pragma once

#include <optional>

#include "control/UserPreferences.h"
#include "core/settings/UserDefaults.h"

namespace tevanto {

/// A stored value in the shapes that this program keeps: nothing for dictionaries, and for arrays of anything
/// but strings.
std::optional<DefaultsValue> defaultsValueOf(const PreferenceValue& stored);

}  // namespace tevanto
