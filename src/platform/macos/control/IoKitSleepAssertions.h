#pragma once

#include "control/SleepAssertions.h"

namespace tevanto {

/// IoKitSleepAssertions makes power assertions of IOKit; the codes are `IOReturn` values. The system releases
/// them when the process exits.
class IoKitSleepAssertions final : public SleepAssertions {
 public:
  Created create(std::string_view type, std::string_view reason) override;
  Code release(std::uint32_t identifier) override;
};

}  // namespace tevanto
