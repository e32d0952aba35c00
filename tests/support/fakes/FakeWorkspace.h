#pragma once

#include <algorithm>
#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "control/Workspace.h"

namespace tevanto::test {

/// A desktop with the applications that a test puts there.
class FakeWorkspace final : public Workspace {
 public:
  struct Opened {
    std::string location;
    Activation activation;
    bool operator==(const Opened&) const = default;
  };

  std::vector<std::pair<std::string, std::vector<ApplicationBundle>>> folders;
  std::map<std::string, std::vector<std::byte>> icons;        // by location
  std::map<std::string, std::string, std::less<>> locations;  // by identifier
  std::vector<std::string> existing;
  std::vector<Opened> opened;

  std::vector<std::string> applicationFolders() override {
    std::vector<std::string> names;
    for (const auto& [name, bundles] : folders) names.push_back(name);
    return names;
  }
  std::vector<ApplicationBundle> applicationsIn(const std::string& folder) override {
    for (const auto& [name, bundles] : folders) {
      if (name == folder) return bundles;
    }
    return {};
  }
  std::optional<std::vector<std::byte>> iconPng(const ApplicationBundle& application) override {
    const auto found = icons.find(application.location);
    return found == icons.end() ? std::nullopt : std::optional(found->second);
  }
  std::optional<std::string> locationOf(std::string_view identifier) override {
    const auto found = locations.find(identifier);
    return found == locations.end() ? std::nullopt : std::optional(found->second);
  }
  bool exists(const std::string& location) override {
    return std::find(existing.begin(), existing.end(), location) != existing.end();
  }
  void open(const std::string& location, Activation activation) override {
    opened.push_back({location, activation});
  }
};

}  // namespace tevanto::test
