#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "core/Result.h"
#include "phone/connection/Endpoint.h"

namespace tevanto {
class UserDefaults;
}

namespace tevanto::phone {

/// PhoneIdentity is how this phone introduces itself to a companion.
struct PhoneIdentity {
  std::string deviceID;
  std::string deviceName;
};

/// PairedCompanions stores the companions that this phone was paired with, by their device identifiers. The
/// keys in the phone's own user defaults: "companion.<id>.token", "companion.<id>.name",
/// "address.<host:port>" = id, "lastCompanion" = id.
class PairedCompanions {
 public:
  explicit PairedCompanions(UserDefaults& defaults) : defaults_(defaults) {}

  std::optional<std::string> token(std::string_view deviceID) const;
  /// The companion that was met at this address, or at the same host by another port. Nothing for an address
  /// that is not known: a token is shown to nobody but the companion that it came from.
  std::optional<std::string> companionAt(const Endpoint& endpoint) const;
  std::optional<std::string> last() const;
  /// The identifier of the paired companion of this name.
  std::optional<std::string> named(std::string_view name) const;
  /// The paired companion of this name or identifier.
  std::optional<std::string> known(const std::string& nameOrID) const;

  /// An endpoint without a host, of a companion that was paired from another network, is not stored.
  Result<void> remember(std::string_view deviceID, std::string_view name, std::string_view token,
                        const Endpoint& endpoint);
  /// A companion was met at this address too.
  Result<void> meet(std::string_view deviceID, const Endpoint& endpoint);
  PhoneIdentity identity();

 private:
  std::optional<std::string> companionOn(const Endpoint& endpoint) const;

  UserDefaults& defaults_;
};

}  // namespace tevanto::phone
