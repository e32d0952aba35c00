#include "core/DeviceIdentity.h"

#include "core/UserDefaults.h"
#include "core/Uuid.h"

namespace tevanto {

std::string deviceIdentifier(UserDefaults& defaults) {
  if (auto stored = defaults.string(kDeviceIDKey)) return *stored;
  auto fresh = randomUuid();
  // A computer that cannot store it still gets one: it lasts for as long as the caller keeps it.
  (void)defaults.set(kDeviceIDKey, fresh);
  return fresh;
}

std::string advertisedName(const std::optional<std::string>& computerName) {
  return computerName.value_or("Tevanto Mac");
}

}  // namespace tevanto
