#pragma once

#include <map>
#include <optional>
#include <span>
#include <string>

#include "p2p/ice/DeploymentSettings.h"
#include "tests/support/fakes/FakeUserDefaults.h"

namespace tevanto::test {

/// The three sources of deployment values, as a test fills them.
struct DeploymentSources {
  /// The members of the property list's dictionary, as XML.
  std::string info;
  FakeUserDefaults defaults;
  std::map<std::string, std::string> environment;

  DeploymentSettings settings() {
    const auto xml = "<plist version=\"1.0\"><dict>" + info + "</dict></plist>";
    auto parsed = InfoPlist::parse(std::as_bytes(std::span(xml.data(), xml.size())));
    return {std::move(parsed).value(), defaults,
            [this](const std::string& name) -> std::optional<std::string> {
              const auto found = environment.find(name);
              return found == environment.end() ? std::nullopt : std::optional(found->second);
            }};
  }
};

}  // namespace tevanto::test
