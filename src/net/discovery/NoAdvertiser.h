#pragma once

#include "net/discovery/ServiceAdvertiser.h"

namespace tevanto {

/// NoAdvertiser publishes nothing, for users who do not want to be seen on the network.
class NoAdvertiser final : public ServiceAdvertiser {
 public:
  Registration advertise(const ServiceDescription& service, StatusHandler onStatus) override {
    onStatus({AdvertisingState::unavailable, service.name, "switched off with --no-discovery"});
    return nullptr;
  }
};

}  // namespace tevanto
