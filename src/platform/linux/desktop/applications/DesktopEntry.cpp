#include "platform/linux/desktop/applications/DesktopEntry.h"

#include <gio/gdesktopappinfo.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <utility>

#include "platform/linux/desktop/GlibOwned.h"

namespace tevanto {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kEntryExtension = ".desktop";
/// Real entries with a hundred translations stay below 100 KiB.
constexpr std::uintmax_t kMaxEntryBytes = 1024 * 1024;
/// A folder that links to one of its parents must not keep us.
constexpr int kMaxDepth = 8;

std::optional<std::string> contents(const std::string& path) {
  std::error_code error;
  // A pipe would keep us waiting for its writer.
  if (!fs::is_regular_file(path, error) || fs::file_size(path, error) > kMaxEntryBytes || error) return {};
  std::ifstream file(path, std::ios::binary);
  std::string text(std::istreambuf_iterator<char>(file), {});
  if (!file) return {};
  return text;
}

KeyFile parse(const std::string& text) {
  KeyFile keys(g_key_file_new());
  const bool parsed =
      g_key_file_load_from_data(keys.get(), text.data(), text.size(), G_KEY_FILE_NONE, nullptr);
  return parsed ? std::move(keys) : KeyFile();
}

std::string text(const KeyFile& keys, const char* key) {
  return takeText(g_key_file_get_string(keys.get(), G_KEY_FILE_DESKTOP_GROUP, key, nullptr));
}

bool flag(const KeyFile& keys, const char* key) {
  return g_key_file_get_boolean(keys.get(), G_KEY_FILE_DESKTOP_GROUP, key, nullptr) != FALSE;
}

std::string programOf(const std::string& commandLine) {
  char** words = nullptr;
  if (commandLine.empty() || !g_shell_parse_argv(commandLine.c_str(), nullptr, &words, nullptr)) return {};
  std::string program = fs::path(words[0]).filename();
  g_strfreev(words);
  return program;
}

void collect(const fs::path& folder, const std::string& prefix, int depth,
             std::map<std::string, std::string>& files) {
  std::error_code error;
  std::set<fs::path> entries;
  for (auto entry = fs::directory_iterator(folder, error); !error && entry != fs::directory_iterator();
       entry.increment(error)) {
    entries.insert(entry->path());
  }
  for (const auto& path : entries) {
    const std::string name = path.filename();
    std::error_code ignored;
    if (name.ends_with(kEntryExtension) && name.size() > kEntryExtension.size() &&
        !fs::is_directory(path, ignored)) {
      files.emplace(prefix + name, path);
    } else if (depth < kMaxDepth && fs::is_directory(path, ignored)) {
      collect(path, prefix + name + "-", depth + 1, files);
    }
  }
}

void findFiles(const std::string& folder, std::string_view rest, int depth, std::vector<std::string>& found) {
  std::error_code ignored;
  auto path = folder + "/" + std::string(rest);
  if (fs::is_regular_file(path, ignored)) found.push_back(std::move(path));
  if (depth == kMaxDepth) return;
  for (auto dash = rest.find('-'); dash != rest.npos; dash = rest.find('-', dash + 1)) {
    const auto subfolder = folder + "/" + std::string(rest.substr(0, dash));
    if (dash > 0 && fs::is_directory(subfolder, ignored)) {
      findFiles(subfolder, rest.substr(dash + 1), depth + 1, found);
    }
  }
}

}  // namespace

std::optional<DesktopEntry> DesktopEntry::read(const std::string& path) {
  const auto data = contents(path);
  const auto keys = data ? parse(*data) : KeyFile();
  if (!keys || text(keys, G_KEY_FILE_DESKTOP_KEY_TYPE) != G_KEY_FILE_DESKTOP_TYPE_APPLICATION) return {};
  DesktopEntry entry;
  entry.path = path;
  entry.name = takeText(g_key_file_get_locale_string(keys.get(), G_KEY_FILE_DESKTOP_GROUP,
                                                     G_KEY_FILE_DESKTOP_KEY_NAME, nullptr, nullptr));
  entry.icon = takeText(g_key_file_get_locale_string(keys.get(), G_KEY_FILE_DESKTOP_GROUP,
                                                     G_KEY_FILE_DESKTOP_KEY_ICON, nullptr, nullptr));
  entry.windowClass = text(keys, G_KEY_FILE_DESKTOP_KEY_STARTUP_WM_CLASS);
  const auto command = text(keys, G_KEY_FILE_DESKTOP_KEY_EXEC);
  entry.program = programOf(command);
  entry.inTerminal = flag(keys, G_KEY_FILE_DESKTOP_KEY_TERMINAL);
  entry.activatable = flag(keys, G_KEY_FILE_DESKTOP_KEY_DBUS_ACTIVATABLE);
  // GIO has no application where Exec or TryExec name a program that is not installed.
  const GObjectOwned<GDesktopAppInfo> application(g_desktop_app_info_new_from_keyfile(keys.get()));
  entry.installed = application && !g_desktop_app_info_get_is_hidden(application.get()) &&
                    (!command.empty() || entry.activatable);
  entry.shown = entry.installed && g_app_info_should_show(G_APP_INFO(application.get()));
  return entry;
}

std::vector<DesktopFile> desktopFilesIn(const std::string& folder) {
  std::map<std::string, std::string> files;
  collect(folder, "", 0, files);
  std::vector<DesktopFile> result;
  for (auto& [id, path] : files) result.push_back({id, std::move(path)});
  return result;
}

std::vector<std::string> desktopFilesFor(const std::string& folder, std::string_view id) {
  std::vector<std::string> found;
  if (id.ends_with(kEntryExtension) && id.find_first_of(std::string_view("/\0", 2)) == id.npos) {
    findFiles(folder, id, 0, found);
  }
  return found;
}

}  // namespace tevanto
