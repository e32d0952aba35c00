#include "app/MacDoctorChecks.h"

#include <string>

#include "app/PortCheck.h"
#include "platform/macos/AxAccessibilityPermission.h"
#include "platform/macos/CoreGraphicsScreenPermission.h"
#include "platform/macos/IoKitSleepAssertions.h"
#include "platform/macos/SmAppServiceLoginItem.h"

namespace tevanto {
namespace {

using Attempt = Result<std::string>;

Attempt tryAccessibility() {
  if (AxAccessibilityPermission().isTrusted()) return std::string("input may be sent");
  return Failure{
      "Pointer and keyboard cannot be controlled; allow Tevanto under System Settings, Privacy & Security, "
      "Accessibility."};
}

Attempt tryScreenRecording() {
  if (CoreGraphicsScreenPermission().isGranted()) return std::string("the screen may be mirrored");
  return Failure{
      "The screen cannot be mirrored; allow Tevanto under System Settings, Privacy & Security, Screen "
      "Recording, and start it again."};
}

Attempt trySleepAssertion() {
  IoKitSleepAssertions assertions;
  const auto created = assertions.create(SleepAssertions::kPreventUserIdleSystemSleep,
                                         "Tevanto tries whether it can hold off sleep");
  if (created.code != 0)
    return Failure{"Idle sleep cannot be held off (" + std::to_string(created.code) + ")."};
  if (const auto code = assertions.release(created.identifier); code != 0)
    return Failure{"A sleep assertion cannot be given back (" + std::to_string(code) + ")."};
  return std::string("a sleep assertion was taken and given back");
}

Attempt tryLoginItem() {
  switch (SmAppServiceLoginItem().status()) {
    case LoginItemStatus::enabled:
      return std::string("starts after login");
    case LoginItemStatus::notRegistered:
      return std::string("off");
    case LoginItemStatus::requiresApproval:
      return Failure{"Launch at login waits for your approval under System Settings, General, Login Items."};
    case LoginItemStatus::notFound:
      return Failure{"The system does not know this copy; move Tevanto.app to the Applications folder."};
    case LoginItemStatus::unknown:
      break;
  }
  return Failure{"The system does not say whether Tevanto starts after login."};
}

}  // namespace

std::vector<DoctorCheck> macDoctorChecks(std::uint16_t remotePort, std::uint16_t screenPort) {
  return {{"accessibility", tryAccessibility},
          {"screen recording", tryScreenRecording},
          {"sleep assertion", trySleepAssertion},
          {"launch at login", tryLoginItem},
          {"control port", [=] { return tryPort(remotePort, "--remote-port"); }},
          {"mirroring port", [=] { return tryPort(screenPort, "--screen-port"); }}};
}

}  // namespace tevanto
