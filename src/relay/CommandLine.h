#pragma once

#include <variant>

#include "relay/RelayOptions.h"

namespace tevanto::relay {

/// Nothing more to do: help and version have been shown (0), or the usage was wrong (2).
struct EndNow {
  int exitStatus;
};

using Invocation = std::variant<RelayOptions, EndNow>;

/// Options come from the command line, else from the environment.
Invocation parseCommandLine(int argc, const char* const* argv);

}  // namespace tevanto::relay
