#include "remote/access/CompatibleAccess.h"

#include "core/settings/DeviceIdentity.h"
#include "core/settings/UserDefaults.h"

namespace tevanto {

bool CompatibleAccess::allowsPairing(const std::optional<std::string>& code, std::string_view shown) {
  return code == shown;
}

bool CompatibleAccess::allowsSession(const std::optional<std::string>& token) const {
  return token && defaults_.stringEquals(kPairingTokenKey, *token);
}

// An absent token equals a token that was never stored: commands pass before the first pairing.
bool CompatibleAccess::allowsCommand(const std::optional<std::string>& token) const {
  return defaults_.stringEquals(kPairingTokenKey, token);
}

bool CompatibleAccess::allowsScreen(std::string_view token) const {
  return defaults_.stringEquals(kPairingTokenKey, token);
}

}  // namespace tevanto
