#pragma once

#include <string>
#include <vector>

#include "net/discovery/ServiceBrowser.h"

namespace tevanto::test {

/// Finds what a test has laid out, or fails as without a discovery daemon.
class FakeServiceBrowser final : public ServiceBrowser {
 public:
  std::vector<FoundService> services;
  std::string failure;
  std::vector<std::string> types;

  Result<std::vector<FoundService>> browse(const std::string& type, std::chrono::milliseconds) override {
    types.push_back(type);
    if (!failure.empty()) return Failure{failure};
    return services;
  }
};

}  // namespace tevanto::test
