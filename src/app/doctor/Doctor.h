#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "core/Result.h"

namespace tevanto {

/// One thing that the companion needs, and a way to try it.
struct DoctorCheck {
  std::string name;
  /// What was found, or one sentence with the remedy.
  std::function<Result<std::string>()> attempt;
};

struct DoctorFinding {
  std::string name;
  bool ok = false;
  std::string text;
};

/// Tries all checks at once, each on a thread of its own, and tells what they found, in their order. A check
/// that is still at it when `timeout` is over counts as failed; its thread is left behind.
void tryChecks(const std::vector<DoctorCheck>& checks, std::chrono::milliseconds timeout,
               const std::function<void(DoctorFinding)>& found);

/// {"ok":...,"checks":[{"name":...,"ok":...,"text":...}]} on one line.
std::string doctorJson(const std::vector<DoctorFinding>& findings);
/// One line; what servers said in it cannot steer the terminal.
std::string doctorLine(const DoctorFinding& finding);

bool allOk(const std::vector<DoctorFinding>& findings);

}  // namespace tevanto
