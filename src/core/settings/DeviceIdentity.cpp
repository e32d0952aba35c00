#include "core/settings/DeviceIdentity.h"

#include "core/settings/UserDefaults.h"
#include "core/text/Uuid.h"

namespace tevanto {

std::string deviceIdentifier(UserDefaults& defaults) {
  if (auto stored = defaults.string(kDeviceIDKey)) return *stored;
  auto fresh = randomUuid();
  if (defaults.set(kDeviceIDKey, fresh)) return fresh;
  static const std::string forThisProcess = fresh;
  return forThisProcess;
}

std::string advertisedName(const std::optional<std::string>& computerName) {
  return computerName.value_or("Tevanto Mac");
}

}  // namespace tevanto
