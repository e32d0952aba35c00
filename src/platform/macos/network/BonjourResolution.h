#pragma once

#include <chrono>

#include "core/Result.h"
#include "net/discovery/ServiceAdvertiser.h"

namespace tevanto {

/// Whether the local network says of the service, within `timeout`, what it was advertised with: its port
/// and its text record. Waits for it; fails when nobody can be asked.
Result<bool> bonjourResolves(const ServiceDescription& service, std::chrono::milliseconds timeout);

}  // namespace tevanto
