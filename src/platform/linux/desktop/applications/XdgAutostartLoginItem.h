#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "control/LoginItem.h"

namespace tevanto {

/// XdgAutostartLoginItem keeps the login item as an entry of the Desktop Application Autostart Specification.
/// An entry that the user switched off in the desktop's settings stays off until it is switched on there.
/// Main queue only.
class XdgAutostartLoginItem final : public LoginItem {
 public:
  static constexpr auto kFileName = "app.tevanto.Tevanto.desktop";

  /// Surroundings describes the program, its desktop and the folders of entries.
  struct Surroundings {
    std::filesystem::path configHome;                    // entries stand in its folder "autostart"
    std::vector<std::filesystem::path> configFolders;    // the system's, the most important one first
    std::filesystem::path program;                       // the program to start
    std::vector<std::string> arguments;                  // and its arguments
    std::vector<std::filesystem::path> installedPlaces;  // where a program counts as installed
    std::string currentDesktop;  // names separated by colons, as in XDG_CURRENT_DESKTOP

    static Surroundings ofThisProcess();
  };

  explicit XdgAutostartLoginItem(Surroundings surroundings = Surroundings::ofThisProcess());

  /// notFound: this program does not run from an installed place. requiresApproval: there is an entry that
  /// the desktop has switched off. notRegistered: also an entry that starts nothing, such as one for a
  /// program that is gone. unknown: the entry cannot be read.
  LoginItemStatus status() override;
  /// Leaves an entry switched off that the desktop has switched off.
  Result<void> registerItem() override;
  Result<void> unregisterItem() override;
  /// Starts the desktop's settings for programs that start after login, when it has any.
  void openSettings() override;

 private:
  bool isInstalled() const;
  std::filesystem::path userEntry() const;
  std::filesystem::path systemEntry() const;

  Surroundings surroundings_;
};

}  // namespace tevanto
