#include "platform/linux/desktop/applications/IconTheme.h"

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <limits>
#include <string_view>

#include "platform/linux/desktop/GlibOwned.h"

namespace tevanto {
namespace {

using namespace std::chrono_literals;

constexpr auto kIconTheme = "Icon Theme";
/// In the order of preference within one folder.
constexpr std::array<std::string_view, 3> kExtensions{".png", ".svg", ".xpm"};
constexpr int kMaxInheritance = 16;
/// How long a look at the folders holds: long enough for a whole list of applications.
constexpr auto kFreshFor = 5s;

std::int64_t changeOf(const std::string& path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) return 0;
  return status.st_mtim.tv_sec * 1'000'000'000LL + status.st_mtim.tv_nsec;
}

KeyFile readKeys(const std::string& path) {
  KeyFile keys(g_key_file_new());
  const bool read = g_key_file_load_from_file(keys.get(), path.c_str(), G_KEY_FILE_NONE, nullptr);
  return read ? std::move(keys) : KeyFile();
}

std::vector<std::string> listOf(GKeyFile* keys, const char* key) {
  std::vector<std::string> values;
  const std::string text = takeText(g_key_file_get_string(keys, kIconTheme, key, nullptr));
  for (std::string_view rest = text; !rest.empty();) {
    const auto end = std::min(rest.find(','), rest.size());
    if (end > 0) values.emplace_back(rest.substr(0, end));
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
  return values;
}

int numberOf(GKeyFile* keys, const std::string& group, const char* key, int otherwise) {
  GError* error = nullptr;
  const int value = g_key_file_get_integer(keys, group.c_str(), key, &error);
  if (!error) return value;
  g_error_free(error);
  return otherwise;
}

std::string themeFromGSettings() {
  auto* source = g_settings_schema_source_get_default();
  // A schema that is not installed would end the program.
  auto* schema =
      source ? g_settings_schema_source_lookup(source, "org.gnome.desktop.interface", TRUE) : nullptr;
  if (!schema) return {};
  std::string name;
  if (g_settings_schema_has_key(schema, "icon-theme")) {
    const GObjectOwned<GSettings> settings(g_settings_new_full(schema, nullptr, nullptr));
    name = takeText(g_settings_get_string(settings.get(), "icon-theme"));
  }
  g_settings_schema_unref(schema);
  return name;
}

}  // namespace

int IconTheme::Folder::distanceTo(int wanted) const {
  switch (sizing) {
    case Sizing::fixed:
      return std::abs(size - wanted);
    case Sizing::scalable:
      return std::max({minimum - wanted, wanted - maximum, 0});
    case Sizing::threshold:
      return std::max(std::abs(size - wanted) - threshold, 0);
  }
  return std::numeric_limits<int>::max();
}

IconTheme::IconTheme(DesktopFolders folders, std::string themeName)
    : folders_(std::move(folders)), themeName_(std::move(themeName)) {
  roots_.push_back(folders_.home + "/.icons");
  for (auto& root : folders_.inDataFolders("icons")) roots_.push_back(std::move(root));
}

std::string IconTheme::userThemeName(const DesktopFolders& folders) {
  for (const auto* toolkit : {"gtk-4.0", "gtk-3.0"}) {
    for (const auto& path : folders.inConfigFolders(std::string(toolkit) + "/settings.ini")) {
      const auto keys = readKeys(path);
      if (!keys) continue;
      auto name = takeText(g_key_file_get_string(keys.get(), "Settings", "gtk-icon-theme-name", nullptr));
      if (!name.empty()) return name;
    }
  }
  auto name = themeFromGSettings();
  return name.empty() ? "Adwaita" : name;
}

std::optional<std::string> IconTheme::find(const std::string& name, int size) {
  const std::lock_guard lock(mutex_);
  loadIfChanged();
  for (const auto& [themeName, theme] : themes_) {
    if (const auto* file = best(theme, name, size)) return file->path;
  }
  const auto found = unthemed_.find(name);
  return found == unthemed_.end() ? std::nullopt : std::optional(found->second);
}

const IconTheme::File* IconTheme::best(const Theme& theme, const std::string& name, int size) {
  const auto found = theme.icons.find(name);
  if (found == theme.icons.end()) return nullptr;
  const auto& files = found->second;
  return &*std::min_element(files.begin(), files.end(), [&](const File& a, const File& b) {
    return theme.folders[a.folder].distanceTo(size) < theme.folders[b.folder].distanceTo(size);
  });
}

void IconTheme::loadIfChanged() {
  const auto now = std::chrono::steady_clock::now();
  if (!changes_.empty() && now - checked_ < kFreshFor) return;
  checked_ = now;
  const bool fresh = !changes_.empty() && std::all_of(changes_.begin(), changes_.end(), [](const auto& seen) {
    return changeOf(seen.first) == seen.second;
  });
  if (!fresh) load();
}

void IconTheme::load() {
  changes_.clear();
  themes_.clear();
  unthemed_.clear();
  loadTheme(themeName_.empty() ? userThemeName(folders_) : themeName_, 0);
  // Every theme ends in hicolor, and a chosen theme that is not installed falls back to the usual one.
  if (themes_.empty()) loadTheme("Adwaita", 0);
  loadTheme("hicolor", 0);
  for (const auto& root : roots_) readUnthemed(root);
  for (const auto& pixmaps : folders_.inDataFolders("pixmaps")) readUnthemed(pixmaps);
}

/// A theme may be spread over several roots; the first one that has an index describes it.
void IconTheme::loadTheme(const std::string& name, int depth) {
  const bool known =
      std::any_of(themes_.begin(), themes_.end(), [&](const auto& theme) { return theme.first == name; });
  if (known || depth > kMaxInheritance || name.empty() || name.find('/') != name.npos) return;
  KeyFile index;
  for (const auto& root : roots_) {
    const auto path = root + "/" + name;
    changes_[path] = changeOf(path);
    if (!index) index = readKeys(path + "/index.theme");
  }
  if (!index) return;
  auto& theme = themes_.emplace_back(name, Theme()).second;
  for (const auto& folder : listOf(index.get(), "Directories")) {
    theme.folders.push_back(folderFrom(index.get(), folder));
  }
  for (const auto& folder : listOf(index.get(), "ScaledDirectories")) {
    theme.folders.push_back(folderFrom(index.get(), folder));
  }
  for (std::size_t i = 0; i < theme.folders.size(); ++i) {
    for (const auto& root : roots_) {
      const auto path = root + "/" + name;
      if (changes_[path] != 0) readFolder(theme, i, path + "/" + theme.folders[i].name);
    }
  }
  for (const auto& parent : listOf(index.get(), "Inherits")) loadTheme(parent, depth + 1);
}

/// Sizes are in device pixels: a folder of scale 2 holds icons of twice its size.
IconTheme::Folder IconTheme::folderFrom(void* index, const std::string& name) {
  auto* keys = static_cast<GKeyFile*>(index);
  const auto type = takeText(g_key_file_get_string(keys, name.c_str(), "Type", nullptr));
  const int scale = std::clamp(numberOf(keys, name, "Scale", 1), 1, 16);
  const auto pixels = [&](const char* key, int otherwise) {
    return std::clamp(numberOf(keys, name, key, otherwise), 0, 65536) * scale;
  };
  Folder folder;
  folder.name = name;
  folder.sizing = type == "Fixed" ? Sizing::fixed : type == "Scalable" ? Sizing::scalable : Sizing::threshold;
  folder.size = pixels("Size", 0);
  folder.minimum = pixels("MinSize", folder.size / scale);
  folder.maximum = pixels("MaxSize", folder.size / scale);
  folder.threshold = pixels("Threshold", 2);
  return folder;
}

void IconTheme::readFolder(Theme& theme, std::size_t folder, const std::string& path) {
  const auto names = list(path);
  for (const auto extension : kExtensions) {
    for (const auto& name : names) {
      if (!name.ends_with(extension)) continue;
      theme.icons[name.substr(0, name.size() - extension.size())].push_back({folder, path + "/" + name});
    }
  }
}

void IconTheme::readUnthemed(const std::string& path) {
  const auto names = list(path);
  for (const auto extension : kExtensions) {
    for (const auto& name : names) {
      if (!name.ends_with(extension)) continue;
      unthemed_.emplace(name.substr(0, name.size() - extension.size()), path + "/" + name);
    }
  }
}

/// The names in a folder, which is watched from then on.
std::vector<std::string> IconTheme::list(const std::string& path) {
  std::vector<std::string> names;
  changes_[path] = changeOf(path);
  DIR* folder = ::opendir(path.c_str());
  if (!folder) return names;
  while (const auto* entry = ::readdir(folder)) names.emplace_back(entry->d_name);
  ::closedir(folder);
  return names;
}

}  // namespace tevanto
