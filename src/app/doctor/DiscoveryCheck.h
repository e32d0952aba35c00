#pragma once

#include <functional>
#include <string>

#include "core/Result.h"
#include "net/discovery/ServiceAdvertiser.h"

namespace tevanto {

/// What it takes to see whether phones find this computer, and what to tell a user who is not found.
struct DiscoveryTrial {
  ServiceAdvertiser& advertiser;
  /// Whether the network says of the service, under this name, what was advertised. Takes a few seconds at
  /// most.
  std::function<Result<bool>(const ServiceDescription& service)> resolves;
  std::string advertisingRemedy;  // "start ...", behind what is wrong
  std::string resolvingRemedy;
};

/// Advertises a service of the doctor's own and looks for it.
Result<std::string> tryDiscovery(const DiscoveryTrial& trial);

}  // namespace tevanto
