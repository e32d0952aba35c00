#pragma once

#include <string>
#include <string_view>

#include "app/cli/CommandLine.h"
#include "core/Result.h"
#include "core/settings/UserDefaults.h"

namespace tevanto {

/// A setting as a person reads it: strings bare, everything else as JSON.
std::string defaultsText(const DefaultsValue& value);

/// Reads a setting as a person writes it. `automatic` takes true, false, numbers, arrays of strings and data
/// as it is shown for what they look like, everything else for a string.
Result<DefaultsValue> defaultsValueFrom(std::string_view text, DefaultsOptions::Type type);

/// Returns true when the setting under `key` gives access to this computer or to a service, and is not to be
/// shown unless asked for by name.
bool isSecretDefault(std::string_view key);

}  // namespace tevanto
