#include "platform/linux/desktop/shortcuts/DesktopOverview.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "core/queue/SerialQueue.h"
#include "platform/linux/dbus/BusConnection.h"
#include "platform/linux/desktop/GlibOwned.h"
#include "platform/linux/desktop/shortcuts/CurrentDesktop.h"

namespace tevanto {
namespace {

// Asking the bus itself for a name, on the main queue: it answers in far less, or it hangs.
constexpr std::chrono::milliseconds kNameTimeout{200};

bool hasOwner(const BusAddress& bus, const std::string& name) {
  const BusCall call{
      "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "GetNameOwner", {name}};
  return callOnce(bus, call, kNameTimeout).ok();
}

class NoOverview final : public DesktopOverview {
 public:
  bool available(Kind) override { return false; }
  void open(Kind) override {}
};

/// An overview that a service on the session bus shows.
class BusOverview : public DesktopOverview, public std::enable_shared_from_this<BusOverview> {
 public:
  BusOverview(BusAddress bus, std::shared_ptr<SerialQueue> background, Logger log)
      : bus_(std::move(bus)), background_(std::move(background)), log_(std::move(log)) {}

  bool available(Kind kind) override { return hasOwner(bus_, service(kind)); }

  void open(Kind kind) override {
    background_->async([self = shared_from_this(), kind] { self->openNow(kind); });
  }

 protected:
  virtual std::string service(Kind kind) const = 0;
  virtual BusReply show(BusConnection& bus, Kind kind) const = 0;

 private:
  void openNow(Kind kind) const {
    auto opened = BusConnection::open(bus_);
    if (const auto* error = std::get_if<BusError>(&opened)) return report(*error);
    const auto shown = show(std::get<BusConnection>(opened), kind);
    if (!shown) report(shown.error());
  }
  void report(const BusError& error) const {
    log_.warning("The desktop does not show its overview: " + error.text);
  }

  const BusAddress bus_;
  const std::shared_ptr<SerialQueue> background_;
  const Logger log_;
};

class GnomeOverview final : public BusOverview {
 public:
  using BusOverview::BusOverview;

 private:
  static constexpr auto kShell = "org.gnome.Shell";
  static constexpr auto kPath = "/org/gnome/Shell";

  std::string service(Kind) const override { return kShell; }

  BusReply show(BusConnection& bus, Kind kind) const override {
    if (kind == Kind::windows) {
      const auto active = bus.property(kShell, kPath, kShell, "OverviewActive").variant();
      const auto* isActive = active ? std::get_if<bool>(&*active) : nullptr;
      return setActive(bus, !(isActive && *isActive));
    }
    auto shown = bus.call({kShell, kPath, kShell, "ShowApplications"});
    // The shell lets only parts of the desktop call that; the overview has the applications in it.
    return shown ? std::move(shown) : setActive(bus, true);
  }

  static BusReply setActive(BusConnection& bus, bool active) {
    return bus.call({kShell,
                     kPath,
                     "org.freedesktop.DBus.Properties",
                     "Set",
                     {kShell, std::string("OverviewActive"), BusVariant{active}}});
  }
};

class PlasmaOverview final : public BusOverview {
 public:
  using BusOverview::BusOverview;

 private:
  static constexpr auto kShortcuts = "org.kde.kglobalaccel";
  static constexpr auto kComponent = "/component/kwin";
  static constexpr auto kInterface = "org.kde.kglobalaccel.Component";

  std::string service(Kind kind) const override {
    return kind == Kind::windows ? kShortcuts : "org.kde.plasmashell";
  }

  BusReply show(BusConnection& bus, Kind kind) const override {
    if (kind == Kind::applications)
      return bus.call({"org.kde.plasmashell", "/PlasmaShell", "org.kde.PlasmaShell", "activateLauncherMenu"});
    return bus.call({kShortcuts, kComponent, kInterface, "invokeShortcut", {overviewName(bus)}});
  }

  /// Plasma has its overview since 5.24; before, it only spreads the windows.
  static std::string overviewName(BusConnection& bus) {
    const auto names = bus.call({kShortcuts, kComponent, kInterface, "shortcutNames"}).strings();
    const bool has = names && std::find(names->begin(), names->end(), "Overview") != names->end();
    return has ? "Overview" : "ExposeAll";
  }
};

/// Xfce has programs for it, which may be installed or not.
class XfceOverview final : public DesktopOverview {
 public:
  explicit XfceOverview(Logger log) : log_(std::move(log)) {}

  bool available(Kind kind) override { return !programPath(kind).empty(); }

  void open(Kind kind) override {
    auto path = programPath(kind);
    char* arguments[]{path.data(), nullptr};
    constexpr auto kFlags = static_cast<GSpawnFlags>(G_SPAWN_STDOUT_TO_DEV_NULL | G_SPAWN_STDERR_TO_DEV_NULL);
    const auto ownSession = [](void*) { ::setsid(); };
    if (!g_spawn_async(nullptr, arguments, nullptr, kFlags, ownSession, nullptr, nullptr, nullptr))
      log_.warning("The desktop's overview cannot be started.");
  }

 private:
  static std::string programPath(Kind kind) {
    return takeText(g_find_program_in_path(kind == Kind::windows ? "xfdashboard" : "xfce4-appfinder"));
  }

  const Logger log_;
};

}  // namespace

std::shared_ptr<DesktopOverview> DesktopOverview::ofSession(std::shared_ptr<SerialQueue> background,
                                                            Logger log) {
  const char* desktop = std::getenv("XDG_CURRENT_DESKTOP");
  return of(desktop ? desktop : "", BusAddress::session(), std::move(background), std::move(log));
}

std::shared_ptr<DesktopOverview> DesktopOverview::of(std::string_view currentDesktop, BusAddress sessionBus,
                                                     std::shared_ptr<SerialQueue> background, Logger log) {
  switch (desktopNamed(currentDesktop)) {
    case Desktop::gnome:
      return std::make_shared<GnomeOverview>(std::move(sessionBus), std::move(background), std::move(log));
    case Desktop::plasma:
      return std::make_shared<PlasmaOverview>(std::move(sessionBus), std::move(background), std::move(log));
    case Desktop::xfce:
      return std::make_shared<XfceOverview>(std::move(log));
    case Desktop::other:
      break;
  }
  return std::make_shared<NoOverview>();
}

std::optional<DesktopOverview::Kind> DesktopOverview::kindAt(std::string_view location) {
  if (location == kWindowsLocation) return Kind::windows;
  if (location == kApplicationsLocation) return Kind::applications;
  return std::nullopt;
}

}  // namespace tevanto
