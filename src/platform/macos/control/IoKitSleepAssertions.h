#pragma once

#include "control/SleepAssertions.h"

namespace tevanto {

/// Power assertions of IOKit; the codes are `IOReturn` values. The system takes back what a process leaves
/// behind.
class IoKitSleepAssertions final : public SleepAssertions {
 public:
  Created create(std::string_view type, std::string_view reason) override;
  Code release(std::uint32_t identifier) override;
};

}  // namespace tevanto
