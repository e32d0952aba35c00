#pragma once

#include <cstdint>

#include "net/ServiceAdvertiser.h"

namespace tevanto {

/// What a DNSServiceErrorType means for a service that should be visible.
struct BonjourFailure {
  AdvertisingState state = AdvertisingState::pending;
  const char* message = "";  // for a person
  bool isWorthRetrying = false;
};

BonjourFailure bonjourFailureOf(std::int32_t error);

}  // namespace tevanto
