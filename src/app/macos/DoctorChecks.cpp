#include "app/macos/DoctorChecks.h"

#include <string>

#include "app/doctor/DiscoveryCheck.h"
#include "app/doctor/PortCheck.h"
#include "control/ScriptHost.h"
#include "core/text/Uuid.h"
#include "platform/macos/control/AppleScriptHost.h"
#include "platform/macos/control/AxAccessibilityPermission.h"
#include "platform/macos/control/IoKitSleepAssertions.h"
#include "platform/macos/control/SmAppServiceLoginItem.h"
#include "platform/macos/foundation/CfUserDefaults.h"
#include "platform/macos/network/BonjourResolution.h"
#include "platform/macos/network/BonjourServiceAdvertiser.h"
#include "platform/macos/screen/CoreGraphicsScreenPermission.h"
#include "platform/macos/screen/VideoToolboxEncoder.h"
#include "remote/MacRemoteServer.h"
#include "screen/ScreenStreamServer.h"

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

Attempt tryEncoder() {
  const auto session = VideoToolboxEncoder().create(1280, 720, VideoCodec::h264);
  if (!session) return Failure{"The screen cannot be encoded: " + session.error()};
  session.value()->invalidate();
  return std::string("VideoToolbox encodes H.264");
}

Attempt tryBonjour() {
  BonjourServiceAdvertiser advertiser;
  return tryDiscovery(
      {advertiser,
       [](const ServiceDescription& service) { return bonjourResolves(service, std::chrono::seconds(4)); },
       "allow Tevanto under System Settings, Privacy & Security, Local Network, or connect with --host",
       "check that no firewall or filter keeps multicast DNS (UDP port 5353) back"});
}

/// On the main thread, as every script.
Attempt tryVolume() {
  const auto result = AppleScriptHost::runHere(script::kOutputVolume);
  if (!result.success) return Failure{"The volume cannot be read: " + result.errorMessage + "."};
  const auto* volume = result.value ? std::get_if<std::int32_t>(&*result.value) : nullptr;
  if (volume) return "the volume is " + std::to_string(*volume) + " %";
  return std::string("the chosen output has no volume of its own");
}

Attempt trySettings() {
  CfUserDefaults defaults("app.tevanto.doctor");
  const auto key = "try-" + randomUuid();
  const auto stored = defaults.set(key, true);
  const bool isThere = defaults.boolean(key);
  const auto removed = defaults.remove(key);
  if (!stored) return Failure{"Settings and the pairing cannot be stored: " + stored.error()};
  if (!isThere || !removed) return Failure{"Settings and the pairing are not kept by the system."};
  return std::string("a setting was stored and removed");
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

std::vector<DoctorCheck> doctorChecks(const DoctorOptions& options) {
  const auto remotePort = options.remotePort.value_or(MacRemoteServer::kDefaultPort);
  const auto screenPort = options.screenPort.value_or(ScreenStreamServer::kDefaultPort);
  auto volume = tryVolume();
  return {{"accessibility", tryAccessibility},
          {"screen recording", tryScreenRecording},
          {"encoder", tryEncoder},
          {"discovery", tryBonjour},
          {"volume", [volume] { return volume; }},
          {"sleep assertion", trySleepAssertion},
          {"launch at login", tryLoginItem},
          {"control port", [=] { return tryPort(remotePort, "--remote-port"); }},
          {"mirroring port", [=] { return tryPort(screenPort, "--screen-port"); }},
          {"settings", trySettings}};
}

}  // namespace tevanto
