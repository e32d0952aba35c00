#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "core/Result.h"

namespace tevanto {

/// DoctorCheck is one requirement of the companion, and a way to try it.
struct DoctorCheck {
  std::string name;
  /// Returns the finding, or one sentence with the remedy. Runs on a thread of its own.
  std::function<Result<std::string>()> attempt;
};

/// DoctorFinding is the result of one check. A check that exceeds the timeout is reported as failed, and its
/// thread is leaked.
struct DoctorFinding {
  std::string name;
  bool ok = false;
  std::string text;
};

/// Runs all checks at once, each on a thread of its own, and passes their findings to `found` in the order of
/// the checks. `timeout` is that of the whole.
void tryChecks(const std::vector<DoctorCheck>& checks, std::chrono::milliseconds timeout,
               const std::function<void(DoctorFinding)>& found);

/// Encodes {"ok":...,"checks":[{"name":...,"ok":...,"text":...}]} on one line.
std::string doctorJson(const std::vector<DoctorFinding>& findings);
/// Formats one line. Control characters that came from servers are replaced.
std::string doctorLine(const DoctorFinding& finding);

bool allOk(const std::vector<DoctorFinding>& findings);

}  // namespace tevanto
