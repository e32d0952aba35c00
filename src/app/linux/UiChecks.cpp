#include "app/linux/UiChecks.h"

#include <cmath>
#include <cstdlib>
#include <optional>
#include <string>
#include <variant>

#include "app/linux/CheckedDisplay.h"
#include "platform/linux/dbus/BusConnection.h"
#include "platform/linux/display/DisplayDiagnosis.h"
#include "platform/linux/process/LoadedModule.h"

namespace tevanto {
namespace {

using Attempt = Result<std::string>;

constexpr auto kTrayService = "org.kde.StatusNotifierWatcher";
constexpr auto kPortalService = "org.freedesktop.portal.Desktop";
constexpr ModuleEntry<std::string*()> kDescribeFonts{"ui", "tevantoDescribeFonts"};
constexpr double kFullScale = 96;  // dots per inch

/// A property of a service on the session bus; nothing when there is no such service.
std::optional<BusValue> sessionProperty(const char* service, const char* path, const char* interface,
                                        const char* name) {
  auto bus = BusConnection::open(BusAddress::session());
  auto* connection = std::get_if<BusConnection>(&bus);
  if (!connection) return std::nullopt;
  return connection->property(service, path, interface, name).variant();
}

Attempt tryTray() {
  const auto host =
      sessionProperty(kTrayService, "/StatusNotifierWatcher", kTrayService, "IsStatusNotifierHostRegistered");
  if (host && host == BusValue(true)) return std::string("a StatusNotifier tray was found");
  const auto desktop = CheckedDisplay()->diagnosis().desktop();
  if (!desktop) return std::string("there is no X server, and so no tray to look for");
  if (desktop->hasTray) return std::string("an XEmbed tray was found");
  return std::string("no tray was found; start tevanto once more to see its window again");
}

Attempt tryFonts() {
  const auto found = makeFromModule(kDescribeFonts);
  if (!found) return std::string("not needed: this installation has no window");
  if (!found.value()->empty()) return *found.value();
  return Failure{"No font is installed, so that the window would show no text; install fonts-dejavu-core."};
}

Attempt tryPortal() {
  const auto version = sessionProperty(kPortalService, "/org/freedesktop/portal/desktop",
                                       "org.freedesktop.portal.Settings", "version");
  if (version) return std::string("the settings portal answers; light, dark and motion follow the desktop");
  return std::string(
      "no settings portal answers; the window follows the colors of Qt's theme and the motion of Gtk's "
      "settings");
}

Attempt tryScale() {
  if (const char* factor = std::getenv("QT_SCALE_FACTOR"); factor && *factor)
    return "windows are scaled by QT_SCALE_FACTOR, " + std::string(factor);
  const auto desktop = CheckedDisplay()->diagnosis().desktop();
  if (!desktop) return std::string("there is no X server to ask");
  const auto percent = std::lround(desktop->dotsPerInch.value_or(kFullScale) / kFullScale * 100);
  return "windows are drawn at " + std::to_string(percent) + " %" +
         (desktop->dotsPerInch ? ", by the resource Xft.dpi" : "; the desktop sets no Xft.dpi");
}

}  // namespace

std::vector<DoctorCheck> uiChecks() {
  return {{"tray", tryTray}, {"fonts", tryFonts}, {"portal", tryPortal}, {"scale", tryScale}};
}

}  // namespace tevanto
