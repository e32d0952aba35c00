#include "app/linux/DoctorChecks.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>

#include "app/doctor/DiscoveryCheck.h"
#include "app/doctor/PortCheck.h"
#include "app/linux/CheckedDisplay.h"
#include "app/linux/ScreenCheck.h"
#include "control/InputEvents.h"
#include "core/text/Uuid.h"
#include "platform/linux/audio/LoadedAudio.h"
#include "platform/linux/avahi/AvahiServiceAdvertiser.h"
#include "platform/linux/avahi/AvahiServiceBrowser.h"
#include "platform/linux/display/DisplayDiagnosis.h"
#include "platform/linux/session/LogindSleepAssertions.h"
#include "remote/MacRemoteServer.h"
#include "screen/ScreenStreamServer.h"

namespace tevanto {
namespace {

using Attempt = Result<std::string>;

/// Moves the pointer as the companion does, and puts it back.
bool pointerReaches(PointerProof& window, const CheckedDisplay& display) {
  bool seen = false;
  display.sync([&] {
    const auto events = display->input();
    const auto before = events->pointerLocation();
    events->warpPointer(window.middle());
    events->postMouse({MouseEventType::moved, window.middle(), 0, 0});
    seen = window.seesPointer(std::chrono::seconds(3));
    events->warpPointer(before);
  });
  return seen;
}

Attempt tryPointer() {
  const CheckedDisplay display;
  const auto window = display->diagnosis().openPointerProof();
  if (!window) {
    return Failure{"The pointer cannot be moved, because " + window.error() + " (" + display->describe() +
                   "); run this in a graphical X11 session, or start one with scripts/start."};
  }
  if (!pointerReaches(*window.value(), display)) {
    return Failure{"The X server takes our window but not our pointer events (" + display->describe() +
                   "); enable its XTEST extension."};
  }
  return std::string("a pointer event arrived in a window of our own");
}

Result<bool> resolves(const ServiceDescription& service) {
  const auto found = makeAvahiServiceBrowser()->browse(service.type, std::chrono::seconds(4));
  if (!found) return Failure{found.error()};
  const auto& identifier = service.txt.front().second;
  return std::any_of(found.value().begin(), found.value().end(), [&](const FoundService& each) {
    const auto id = each.txt.find("id");
    return id != each.txt.end() && id->second == identifier && each.port == service.port;
  });
}

Attempt tryAvahi() {
  AvahiServiceAdvertiser advertiser;
  return tryDiscovery({advertiser, resolves,
                       "start the Avahi daemon (systemctl start avahi-daemon), or connect with --host",
                       "check that the firewall lets multicast DNS (UDP port 5353) through"});
}

Attempt tryVolume() {
  const auto volume = LoadedAudio().volume();
  if (volume) return "the volume is " + std::to_string(volume.value()) + " %";
  return Failure{"The volume cannot be read (" + volume.error() +
                 "); start PulseAudio or PipeWire in this session."};
}

Attempt trySleepInhibitor() {
  LogindSleepAssertions assertions{Logger()};
  const auto created = assertions.create(SleepAssertions::kPreventUserIdleSystemSleep,
                                         "Tevanto tries whether it can hold off sleep");
  if (created.code != 0) {
    return Failure{
        "Idle sleep cannot be held off (" + std::string(std::strerror(created.code)) +
        "); keep-awake needs logind or a session manager, as systemd and the desktops bring them."};
  }
  if (const auto code = assertions.release(created.identifier); code != 0) {
    return Failure{"The sleep inhibitor was taken but cannot be given back (" +
                   std::string(std::strerror(code)) + "); log out and in again."};
  }
  return std::string("a sleep inhibitor was taken and given back");
}

Attempt tryDefaultsFolder(const std::filesystem::path& folder) {
  const auto complain = [&](const std::string& what) {
    return Failure{"Settings and the pairing cannot be stored: " + what + " in " + folder.string() + " (" +
                   std::strerror(errno) + "); make the folder writable, or set XDG_CONFIG_HOME."};
  };
  std::error_code error;
  std::filesystem::create_directories(folder, error);
  const auto file = folder / (".doctor-" + randomUuid());
  const int descriptor = ::open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  if (descriptor < 0) return complain("no file can be created");
  const bool written = ::write(descriptor, "tevanto\n", 8) == 8 && ::fsync(descriptor) == 0;
  const int fault = errno;
  ::close(descriptor);
  const bool removed = ::unlink(file.c_str()) == 0;
  if (!written) errno = fault;
  if (!written) return complain("no file can be written");
  if (!removed) return complain("no file can be removed");
  return folder.string() + " can be written";
}

}  // namespace

std::vector<DoctorCheck> doctorChecks(const DoctorOptions& options,
                                      const std::filesystem::path& defaultsFile) {
  const auto remotePort = options.remotePort.value_or(MacRemoteServer::kDefaultPort);
  const auto screenPort = options.screenPort.value_or(ScreenStreamServer::kDefaultPort);
  return {{"pointer", tryPointer},
          {"screen", tryScreenCapture},
          {"encoder", tryEncoders},
          {"discovery", tryAvahi},
          {"volume", tryVolume},
          {"keep awake", trySleepInhibitor},
          {"control port", [=] { return tryPort(remotePort, "--remote-port"); }},
          {"mirroring port", [=] { return tryPort(screenPort, "--screen-port"); }},
          {"settings", [=] { return tryDefaultsFolder(defaultsFile.parent_path()); }}};
}

}  // namespace tevanto
