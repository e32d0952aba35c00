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
struct WindowIdentity;

/// DesktopWorkspace lists and opens the applications that have a desktop entry. An application's identifier
/// is its desktop file identifier with the extension ("org.example.Viewer.desktop"). Its location is the path
/// of the desktop file.
class DesktopWorkspace final : public Workspace {
 public:
  /// Overviews knows the locations that stand for the desktop's overviews rather than for a desktop entry.
  /// Each function returns true when it knows the location; `open` shows it then. May be empty.
  struct Overviews {
    std::function<bool(const std::string& location)> exists;
    std::function<bool(const std::string& location)> open;
  };

  /// RaiseWindow raises a window of the application; false when there is none to raise. May be empty.
  using RaiseWindow = std::function<bool(const WindowIdentity& application)>;

  DesktopWorkspace(DesktopFolders folders, Overviews overviews, RaiseWindow raiseWindow,
                   Logger log = Logger());
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
  const RaiseWindow raiseWindow_;
  const Logger log_;
  const std::unique_ptr<IconTheme> icons_;
};

}  // namespace tevanto
