#pragma once

#include <chrono>

#include "core/Result.h"
#include "net/discovery/ServiceAdvertiser.h"

namespace tevanto {

/// Returns true when the local network resolves the service to its port and text record within `timeout`.
/// Blocks; fails when the system's responder cannot be asked.
Result<bool> bonjourResolves(const ServiceDescription& service, std::chrono::milliseconds timeout);

}  // namespace tevanto
