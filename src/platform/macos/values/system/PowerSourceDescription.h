#pragma once

#include "control/PowerSources.h"
#include "control/UserPreferences.h"

namespace tevanto {

/// The keys of a description.
namespace powerSourceKey {
inline constexpr std::string_view kCurrentCapacity = "Current Capacity";
inline constexpr std::string_view kMaxCapacity = "Max Capacity";
inline constexpr std::string_view kState = "Power Source State";
}  // namespace powerSourceKey

/// Translates a power source's description (IOPSKeys). Capacities that are no integers count as absent.
PowerSource powerSourceOf(const PreferenceValue& description);

}  // namespace tevanto
