#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "control/Workspace.h"
#include "core/Log.h"
#include "platform/linux/desktop/applications/DesktopFolders.h"

namespace tevanto {

class IconTheme;

/// The applications that have a desktop entry. An application's identifier is its desktop file identifier
/// with the extension ("org.example.Viewer.desktop"), its location the path of the desktop file.
class DesktopWorkspace final : public Workspace {
 public:
  /// The locations that stand for the desktop's overviews rather than for a desktop entry. Each function says
  /// whether it knows the location; `open` shows it then.
  struct Overviews {
    std::function<bool(const std::string& location)> exists;
    std::function<bool(const std::string& location)> open;
  };

  DesktopWorkspace(DesktopFolders folders, Overviews overviews, Logger log = Logger());
  ~DesktopWorkspace() override;

  std::vector<std::string> applicationFolders() override;
  std::vector<ApplicationBundle> applicationsIn(const std::string& folder) override;
  std::optional<std::vector<std::byte>> iconPng(const ApplicationBundle& application) override;
  std::optional<std::string> locationOf(std::string_view identifier) override;
  bool exists(const std::string& location) override;
  void open(const std::string& location, Activation activation) override;

 private:
  std::vector<std::string> iconFiles(const std::string& icon);

  const DesktopFolders folders_;
  const Overviews overviews_;
  const Logger log_;
  const std::unique_ptr<IconTheme> icons_;
};

}  // namespace tevanto
