#pragma once

#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "control/SleepAssertions.h"

namespace tevanto::test {

/// Hands out assertions, numbered from 1, and knows which are held.
class FakeSleepAssertions final : public SleepAssertions {
 public:
  std::vector<std::pair<std::string, std::string>> created;  // type, reason
  std::set<std::uint32_t> held;
  Code createCode = 0;
  Code releaseCode = 0;

  Created create(std::string_view type, std::string_view reason) override {
    if (createCode != 0) return {createCode, 0};
    created.emplace_back(type, reason);
    const auto identifier = static_cast<std::uint32_t>(created.size());
    held.insert(identifier);
    return {0, identifier};
  }
  Code release(std::uint32_t identifier) override {
    if (held.erase(identifier) == 0) return -1;
    return releaseCode;
  }
};

}  // namespace tevanto::test
