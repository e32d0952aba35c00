#include "platform/linux/desktop/applications/DesktopFolders.h"

#include <glib.h>

#include <algorithm>
#include <cstdlib>
#include <string_view>

namespace tevanto {
namespace {

std::string folderFrom(const char* variable, std::string otherwise) {
  const char* value = std::getenv(variable);
  return value && *value == '/' ? std::string(value) : std::move(otherwise);
}

std::vector<std::string> foldersFrom(const char* variable, std::string_view otherwise) {
  const char* value = std::getenv(variable);
  std::string_view rest = value && *value ? std::string_view(value) : otherwise;
  std::vector<std::string> folders;
  while (!rest.empty()) {
    const auto end = std::min(rest.find(':'), rest.size());
    std::string folder(rest.substr(0, end));
    if (folder.starts_with('/') && std::find(folders.begin(), folders.end(), folder) == folders.end()) {
      folders.push_back(std::move(folder));
    }
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
  return folders;
}

std::vector<std::string> below(const std::string& first, const std::vector<std::string>& others,
                               const std::string& name) {
  std::vector<std::string> paths{first + "/" + name};
  for (const auto& folder : others) paths.push_back(folder + "/" + name);
  return paths;
}

}  // namespace

DesktopFolders DesktopFolders::fromEnvironment() {
  DesktopFolders folders;
  folders.home = folderFrom("HOME", g_get_home_dir());
  folders.dataHome = folderFrom("XDG_DATA_HOME", folders.home + "/.local/share");
  folders.dataFolders = foldersFrom("XDG_DATA_DIRS", "/usr/local/share:/usr/share");
  folders.configHome = folderFrom("XDG_CONFIG_HOME", folders.home + "/.config");
  folders.configFolders = foldersFrom("XDG_CONFIG_DIRS", "/etc/xdg");
  return folders;
}

std::vector<std::string> DesktopFolders::inDataFolders(const std::string& name) const {
  return below(dataHome, dataFolders, name);
}

std::vector<std::string> DesktopFolders::inConfigFolders(const std::string& name) const {
  return below(configHome, configFolders, name);
}

}  // namespace tevanto
