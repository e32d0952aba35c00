#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tevanto {

/// An application's desktop entry (Desktop Entry Specification), as this desktop and locale read it.
struct DesktopEntry {
  std::string path;
  std::string name;         // localized; empty when it has none
  std::string icon;         // a name for the icon theme, or an absolute path
  std::string windowClass;  // StartupWMClass
  std::string program;      // the first word of Exec, without its folder
  bool inTerminal = false;
  bool activatable = false;  // DBusActivatable
  /// It can be started: it is not marked as deleted, and the programs that it names are installed.
  bool installed = false;
  /// It is to be seen in a list: installed, not marked otherwise, and meant for this desktop.
  bool shown = false;

  /// Nothing for what is no readable desktop entry of an application.
  static std::optional<DesktopEntry> read(const std::string& path);
};

struct DesktopFile {
  std::string id;  // "org.example.Viewer.desktop"; subfolders are joined with '-'
  std::string path;
};

/// The desktop files under `folder`, sorted by identifier, each identifier once.
std::vector<DesktopFile> desktopFilesIn(const std::string& folder);

/// The desktop files that may stand for `id` in `folder`, in the order in which they count.
std::vector<std::string> desktopFilesFor(const std::string& folder, std::string_view id);

}  // namespace tevanto
