#pragma once

#include <optional>

#include "control/UserPreferences.h"
#include "core/settings/UserDefaults.h"

namespace tevanto {

/// Translates a stored value into the types that this program keeps. Empty for dictionaries, and for arrays
/// of anything but strings.
std::optional<DefaultsValue> defaultsValueOf(const PreferenceValue& stored);

}  // namespace tevanto
