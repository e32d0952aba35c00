#pragma once

#include <memory>
#include <optional>

#include "core/Result.h"
#include "platform/linux/display/PointerProof.h"

namespace tevanto {

/// DisplayDiagnosis holds those questions to a display server that only a diagnosis asks. Each may be asked
/// on any thread; it blocks for a few round trips, and for a window of ours up to three seconds.
class DisplayDiagnosis {
 public:
  /// Desktop describes the display server's desktop.
  struct Desktop {
    bool hasTray = false;  // one of the server's own protocol; StatusNotifier is asked elsewhere
    std::optional<double> dotsPerInch{};  // that toolkits scale by; 96 is 100 %
  };

  virtual ~DisplayDiagnosis() = default;

  /// Shows the window. A failure completes a sentence that ends in "because".
  virtual Result<std::unique_ptr<PointerProof>> openPointerProof() = 0;
  /// Nothing when no server answers.
  virtual std::optional<Desktop> desktop() = 0;
};

}  // namespace tevanto
