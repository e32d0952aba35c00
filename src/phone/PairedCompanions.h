#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "core/Result.h"
#include "phone/Endpoint.h"

namespace tevanto {
class UserDefaults;
}

namespace tevanto::phone {

/// Who this phone is to a companion.
struct PhoneIdentity {
  std::string deviceID;
  std::string deviceName;
};

/// The companions that this phone was paired with, by their device identifiers, in the phone's own user
/// defaults: "companion.<id>.token", "companion.<id>.name", "address.<host:port>" = id, "lastCompanion" = id.
class PairedCompanions {
 public:
  explicit PairedCompanions(UserDefaults& defaults) : defaults_(defaults) {}

  std::optional<std::string> token(std::string_view deviceID) const;
  /// The companion that was met at this address, else the one that was paired last: a companion may be
  /// reached by more addresses than were noted.
  std::optional<std::string> companionAt(const Endpoint& endpoint) const;
  std::optional<std::string> last() const;
  /// The identifier of the paired companion of this name.
  std::optional<std::string> named(std::string_view name) const;

  /// An endpoint without a host, of a companion that was paired from far away, is not noted.
  Result<void> remember(std::string_view deviceID, std::string_view name, std::string_view token,
                        const Endpoint& endpoint);
  PhoneIdentity identity();

 private:
  UserDefaults& defaults_;
};

}  // namespace tevanto::phone
