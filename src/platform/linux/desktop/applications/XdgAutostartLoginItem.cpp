#include "platform/linux/desktop/applications/XdgAutostartLoginItem.h"

#include <glib.h>

#include <algorithm>
#include <cstdlib>
#include <sstream>
#include <system_error>
#include <utility>

#include "platform/linux/desktop/applications/AutostartEntry.h"

namespace tevanto {
namespace {

namespace fs = std::filesystem;

/// The settings program of a desktop for what starts after login.
struct SettingsProgram {
  const char* desktop;
  std::vector<const char*> command;
};

std::vector<SettingsProgram> settingsPrograms() {
  return {{"GNOME", {"gnome-session-properties"}},
          {"GNOME", {"gnome-tweaks"}},
          {"XFCE", {"xfce4-session-settings"}},
          {"KDE", {"kcmshell6", "kcm_autostart"}},
          {"KDE", {"kcmshell5", "kcm_autostart"}},
          {"MATE", {"mate-session-properties"}},
          {"X-Cinnamon", {"cinnamon-settings", "startup"}},
          {"LXQt", {"lxqt-config-session"}}};
}

std::vector<std::string> split(const std::string& list) {
  std::vector<std::string> parts;
  std::istringstream stream(list);
  for (std::string part; std::getline(stream, part, ':');) {
    if (!part.empty()) parts.push_back(part);
  }
  return parts;
}

std::string environment(const char* name) {
  const char* value = std::getenv(name);
  return value ? value : "";
}

bool isOnPath(const char* program) {
  char* found = g_find_program_in_path(program);
  const bool exists = found != nullptr;
  g_free(found);
  return exists;
}

bool isWithin(const fs::path& file, const fs::path& folder) {
  const auto end = std::mismatch(folder.begin(), folder.end(), file.begin(), file.end());
  return end.first == folder.end();
}

fs::path resolved(const fs::path& path) {
  std::error_code error;
  auto real = fs::weakly_canonical(path, error);
  return error ? path : real;
}

void launch(const std::vector<const char*>& command) {
  std::vector<char*> arguments;
  arguments.reserve(command.size() + 1);
  for (const char* argument : command) arguments.push_back(const_cast<char*>(argument));
  arguments.push_back(nullptr);
  const auto flags =
      static_cast<GSpawnFlags>(G_SPAWN_SEARCH_PATH | G_SPAWN_STDOUT_TO_DEV_NULL | G_SPAWN_STDERR_TO_DEV_NULL);
  g_spawn_async(nullptr, arguments.data(), nullptr, flags, nullptr, nullptr, nullptr, nullptr);
}

}  // namespace

XdgAutostartLoginItem::Surroundings XdgAutostartLoginItem::Surroundings::ofThisProcess() {
  fs::path home = environment("HOME");
  if (!home.is_absolute()) home = "/";
  Surroundings found;
  // Relative paths are to be ignored, by the XDG Base Directory Specification.
  found.configHome = environment("XDG_CONFIG_HOME");
  if (!found.configHome.is_absolute()) found.configHome = home / ".config";
  for (const auto& folder : split(environment("XDG_CONFIG_DIRS"))) {
    if (folder.front() == '/') found.configFolders.emplace_back(folder);
  }
  if (found.configFolders.empty()) found.configFolders = {"/etc/xdg"};
  std::error_code error;
  found.program = fs::read_symlink("/proc/self/exe", error);
  found.installedPlaces = {"/usr", "/opt", "/snap", "/nix/store", "/gnu/store"};
  for (const char* place : {".local", "bin", "Applications"}) found.installedPlaces.push_back(home / place);
  found.currentDesktop = environment("XDG_CURRENT_DESKTOP");
  return found;
}

XdgAutostartLoginItem::XdgAutostartLoginItem(Surroundings surroundings)
    : surroundings_(std::move(surroundings)) {}

LoginItemStatus XdgAutostartLoginItem::status() {
  if (!isInstalled()) return LoginItemStatus::notFound;
  auto loaded = AutostartEntry::load(userEntry());
  // An entry of the user's hides the system's, whatever it says.
  if (loaded && !loaded.value() && !systemEntry().empty()) loaded = AutostartEntry::load(systemEntry());
  if (!loaded) return LoginItemStatus::unknown;
  const auto& entry = loaded.value();
  if (!entry || entry->isTakenBack()) return LoginItemStatus::notRegistered;
  if (entry->isSwitchedOff()) return LoginItemStatus::requiresApproval;
  return entry->startsSomething() ? LoginItemStatus::enabled : LoginItemStatus::notRegistered;
}

Result<void> XdgAutostartLoginItem::registerItem() {
  if (!isInstalled()) {
    return Failure{surroundings_.program.string() + " is no installed program. Install Tevanto first."};
  }
  auto loaded = AutostartEntry::load(userEntry());
  if (!loaded) return Failure{loaded.error()};
  AutostartEntry entry = std::move(loaded.value()).value_or(AutostartEntry());
  entry.setTakenBack(false);
  entry.setCommand(surroundings_.program, surroundings_.arguments);
  return entry.save(userEntry());
}

Result<void> XdgAutostartLoginItem::unregisterItem() {
  if (!systemEntry().empty()) {
    AutostartEntry override;
    override.setCommand(surroundings_.program, surroundings_.arguments);
    override.setTakenBack(true);
    return override.save(userEntry());
  }
  std::error_code error;
  fs::remove(userEntry(), error);
  if (error) return Failure{"Cannot remove " + userEntry().string() + ": " + error.message() + "."};
  return {};
}

void XdgAutostartLoginItem::openSettings() {
  const auto desktops = split(surroundings_.currentDesktop);
  auto programs = settingsPrograms();
  std::stable_partition(programs.begin(), programs.end(), [&](const SettingsProgram& program) {
    return std::find(desktops.begin(), desktops.end(), program.desktop) != desktops.end();
  });
  const auto found = std::find_if(programs.begin(), programs.end(), [](const SettingsProgram& program) {
    return isOnPath(program.command.front());
  });
  if (found != programs.end()) launch(found->command);
}

bool XdgAutostartLoginItem::isInstalled() const {
  const auto program = resolved(surroundings_.program);
  return std::any_of(surroundings_.installedPlaces.begin(), surroundings_.installedPlaces.end(),
                     [&](const fs::path& place) { return isWithin(program, resolved(place)); });
}

fs::path XdgAutostartLoginItem::userEntry() const {
  return surroundings_.configHome / "autostart" / kFileName;
}

/// Empty when the system has none.
fs::path XdgAutostartLoginItem::systemEntry() const {
  std::error_code error;
  for (const auto& folder : surroundings_.configFolders) {
    auto file = folder / "autostart" / kFileName;
    if (fs::exists(file, error)) return file;
  }
  return {};
}

}  // namespace tevanto
