#pragma once

#include <functional>
#include <string>

#include "core/Result.h"
#include "net/discovery/ServiceAdvertiser.h"

namespace tevanto {

/// DiscoveryTrial holds the means to find out whether phones find this computer, and the remedies for a user
/// who is not found.
struct DiscoveryTrial {
  ServiceAdvertiser& advertiser;
  /// Returns true when the network resolves the service to what was advertised. Takes a few seconds at most.
  std::function<Result<bool>(const ServiceDescription& service)> resolves;
  std::string advertisingRemedy;  // "start ...", behind what is wrong
  std::string resolvingRemedy;
};

/// Advertises a service of the doctor's own and looks for it.
Result<std::string> tryDiscovery(const DiscoveryTrial& trial);

}  // namespace tevanto
