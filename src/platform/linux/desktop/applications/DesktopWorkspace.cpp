#include "platform/linux/desktop/applications/DesktopWorkspace.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <filesystem>
#include <utility>

#include "platform/linux/desktop/applications/ApplicationLauncher.h"
#include "platform/linux/desktop/applications/DesktopEntry.h"
#include "platform/linux/desktop/applications/IconRenderer.h"
#include "platform/linux/desktop/applications/IconTheme.h"
#include "platform/linux/display/WindowIdentity.h"

namespace tevanto {
namespace {

constexpr std::string_view kExtension = ".desktop";
constexpr auto kGenericIcon = "application-x-executable";

/// When the file came to be; on a file system that does not know, when it was last written.
std::optional<double> created(const std::string& path) {
  struct statx status {};
  if (::statx(AT_FDCWD, path.c_str(), 0, STATX_BTIME | STATX_MTIME, &status) != 0) return {};
  const auto& time = status.stx_mask & STATX_BTIME ? status.stx_btime : status.stx_mtime;
  return static_cast<double>(time.tv_sec) + time.tv_nsec / 1e9;
}

std::string withoutExtension(const std::string& id) { return id.substr(0, id.size() - kExtension.size()); }

ApplicationBundle bundleOf(const DesktopFile& file, DesktopEntry entry) {
  ApplicationBundle bundle;
  bundle.location = file.path;
  bundle.fileName = withoutExtension(file.id);
  bundle.identifier = file.id;
  if (!entry.name.empty()) bundle.displayName = std::move(entry.name);
  bundle.created = created(file.path);
  bundle.hidden = !entry.shown;
  return bundle;
}

WindowIdentity windowsOf(const DesktopEntry& entry) {
  const std::string stem = std::filesystem::path(entry.path).stem();
  if (!entry.windowClass.empty()) return {{entry.windowClass}, stem};
  // What a terminal shows has the terminal's class, whatever the program's name.
  return {entry.inTerminal ? std::vector{stem} : std::vector{stem, entry.program}, stem};
}

}  // namespace

DesktopWorkspace::DesktopWorkspace(DesktopFolders folders, Overviews overviews, RaiseWindow raiseWindow,
                                   Logger log)
    : folders_(std::move(folders)),
      overviews_(std::move(overviews)),
      raiseWindow_(std::move(raiseWindow)),
      log_(std::move(log)),
      icons_(std::make_unique<IconTheme>(folders_)) {}

DesktopWorkspace::~DesktopWorkspace() = default;

std::vector<std::string> DesktopWorkspace::applicationFolders() {
  return folders_.inDataFolders("applications");
}

std::vector<ApplicationBundle> DesktopWorkspace::applicationsIn(const std::string& folder) {
  std::vector<ApplicationBundle> bundles;
  for (const auto& file : desktopFilesIn(folder)) {
    if (auto entry = DesktopEntry::read(file.path)) bundles.push_back(bundleOf(file, std::move(*entry)));
  }
  return bundles;
}

std::optional<std::vector<std::byte>> DesktopWorkspace::iconPng(const ApplicationBundle& application) {
  const auto entry = DesktopEntry::read(application.location);
  if (!entry) return {};
  for (const auto& file : iconFiles(entry->icon)) {
    if (auto png = renderIcon(file, kIconPixels)) return png;
  }
  return {};
}

/// The files that may hold the icon, the best one first.
std::vector<std::string> DesktopWorkspace::iconFiles(const std::string& icon) {
  std::vector<std::string> files;
  const auto addThemed = [&](const std::string& name) {
    if (auto file = icons_->find(name, kIconPixels)) files.push_back(std::move(*file));
  };
  if (icon.starts_with('/')) {
    files.push_back(icon);
  } else if (!icon.empty()) {
    addThemed(icon);
    // Many entries name the file, though they should name the icon.
    const std::filesystem::path name(icon);
    const auto extension = name.extension();
    if (extension == ".png" || extension == ".svg" || extension == ".xpm") addThemed(name.stem());
  }
  addThemed(kGenericIcon);
  return files;
}

std::optional<std::string> DesktopWorkspace::locationOf(std::string_view identifier) {
  for (const auto& folder : applicationFolders()) {
    for (const auto& path : desktopFilesFor(folder, identifier)) {
      const auto entry = DesktopEntry::read(path);
      if (entry) return entry->installed ? std::optional(path) : std::nullopt;
    }
  }
  return {};
}

bool DesktopWorkspace::exists(const std::string& location) {
  if (overviews_.exists && overviews_.exists(location)) return true;
  std::error_code ignored;
  return std::filesystem::is_regular_file(location, ignored);
}

void DesktopWorkspace::open(const std::string& location, Activation activation) {
  if (overviews_.open && overviews_.open(location)) return;
  const auto entry = DesktopEntry::read(location);
  if (!entry) return log_.error("There is no application at " + location + ".");
  // What the bus activates raises its window by itself.
  const bool mayRaise = activation == Activation::activate && !entry->activatable && raiseWindow_;
  if (mayRaise && raiseWindow_(windowsOf(*entry))) return;
  const auto launched = launchApplication(location);
  if (!launched) log_.error("The application " + location + " cannot be opened: " + launched.error());
}

}  // namespace tevanto
