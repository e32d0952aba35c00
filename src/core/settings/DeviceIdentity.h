#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace tevanto {

class UserDefaults;

inline constexpr std::string_view kDeviceIDKey = "tevantoDeviceID";
inline constexpr std::string_view kPairingTokenKey = "remotePairingToken";

/// This computer's stable identifier, a random UUID; made and stored on first use. When it cannot be stored,
/// all callers of this process get the same one, so that the services agree, and the next start makes
/// another.
std::string deviceIdentifier(UserDefaults& defaults);

/// The name under which services of a computer are advertised: its own, or "Tevanto Mac" when it has none.
std::string advertisedName(const std::optional<std::string>& computerName);

}  // namespace tevanto
