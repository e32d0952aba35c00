#pragma once

#include "control/Workspace.h"

namespace tevanto {

/// AppKitWorkspace finds and opens applications by the shared workspace, bundles and the file manager. Any
/// thread. Locations are paths.
class AppKitWorkspace final : public Workspace {
 public:
  std::vector<std::string> applicationFolders() override;
  std::vector<ApplicationBundle> applicationsIn(const std::string& folder) override;
  std::optional<std::vector<std::byte>> iconPng(const ApplicationBundle& application) override;
  std::optional<std::string> locationOf(std::string_view identifier) override;
  bool exists(const std::string& location) override;
  void open(const std::string& location, Activation activation) override;
};

}  // namespace tevanto
