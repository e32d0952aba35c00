#pragma once

#include <string>

#include "core/Result.h"

@class NSError;

namespace tevanto {

/// Makes the text "<what>: <the system's description> (its domain and code)." For Objective-C++ sources only.
Failure failureOf(const std::string& what, NSError* error);
/// Success where there is no error.
Result<void> resultOf(const std::string& what, NSError* error);

}  // namespace tevanto
