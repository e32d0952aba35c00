#pragma once

#include <string>

#include "core/Result.h"

@class NSError;

namespace tevanto {

/// For Objective-C++ sources only. "What failed: what the system says (its domain and code)."
Failure failureOf(const std::string& what, NSError* error);
/// Success where there is no error.
Result<void> resultOf(const std::string& what, NSError* error);

}  // namespace tevanto
