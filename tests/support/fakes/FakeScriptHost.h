#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "control/ScriptHost.h"

namespace tevanto::test {

/// Answers each script with the result that a test has laid down for it, else with "bad script".
class FakeScriptHost final : public ScriptHost {
 public:
  std::map<std::string, ScriptResult, std::less<>> results;
  std::vector<std::string> sources;

  ScriptResult run(std::string_view source) override {
    sources.emplace_back(source);
    const auto found = results.find(source);
    if (found != results.end()) return found->second;
    return {false, "bad script", {}};
  }
};

}  // namespace tevanto::test
