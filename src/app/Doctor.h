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

/// Tries one check on a thread of its own and waits no longer than `patience`. A check that is still at it
/// then counts as failed; its thread is left behind.
DoctorFinding tryCheck(const DoctorCheck& check, std::chrono::milliseconds patience);

/// {"ok":...,"checks":[{"name":...,"ok":...,"text":...}]} on one line.
std::string doctorJson(const std::vector<DoctorFinding>& findings);
/// One line.
std::string doctorLine(const DoctorFinding& finding);

bool allOk(const std::vector<DoctorFinding>& findings);

}  // namespace tevanto
