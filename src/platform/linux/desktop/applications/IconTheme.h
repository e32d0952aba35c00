#pragma once

#include <chrono>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/linux/desktop/applications/DesktopFolders.h"

namespace tevanto {

/// Finds icons as the freedesktop Icon Theme Specification says: in the user's theme, the themes that it
/// inherits, "hicolor", then beside the themes and in the pixmaps folders. The folders are read once and
/// again when one of them has changed. Safe to use from several threads at once.
class IconTheme {
 public:
  /// `themeName` empty: the user's.
  explicit IconTheme(DesktopFolders folders, std::string themeName = "");

  /// The file with the icon `name` (no path, no extension) that suits `size` pixels best.
  std::optional<std::string> find(const std::string& name, int size);

  /// The icon theme that the user has chosen, as far as the desktop's settings tell; else the usual one.
  static std::string userThemeName(const DesktopFolders& folders);

 private:
  enum class Sizing { fixed, scalable, threshold };
  struct Folder {  // of a theme, as its index tells
    std::string name;
    Sizing sizing = Sizing::threshold;
    int size = 0;
    int minimum = 0;
    int maximum = 0;
    int threshold = 2;

    /// How many pixels its icons are off `wanted`; 0 fits.
    int distanceTo(int wanted) const;
  };
  struct File {
    std::size_t folder;  // index into the theme's folders
    std::string path;
  };
  struct Theme {
    std::vector<Folder> folders;
    std::map<std::string, std::vector<File>> icons;  // by name, the preferred file first
  };

  void loadIfChanged();
  void load();
  void loadTheme(const std::string& name, int depth);
  static Folder folderFrom(void* index, const std::string& name);
  void readFolder(Theme& theme, std::size_t folder, const std::string& path);
  void readUnthemed(const std::string& path);
  std::vector<std::string> list(const std::string& path);
  static const File* best(const Theme& theme, const std::string& name, int size);

  const DesktopFolders folders_;
  const std::string themeName_;
  std::vector<std::string> roots_;

  std::mutex mutex_;
  std::chrono::steady_clock::time_point checked_;
  std::map<std::string, std::int64_t> changes_;  // folder -> when it last changed, 0 when it is not there
  std::vector<std::pair<std::string, Theme>> themes_;  // in the order in which they are asked
  std::map<std::string, std::string> unthemed_;
};

}  // namespace tevanto
