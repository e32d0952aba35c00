#pragma once

#include <chrono>
#include <cstdint>

#include "net/discovery/ServiceAdvertiser.h"

namespace tevanto {

/// What a DNSServiceErrorType means for a service that should be visible.
struct BonjourFailure {
  AdvertisingState state = AdvertisingState::pending;
  const char* message = "";  // for a person
  bool isWorthRetrying = false;
};

BonjourFailure bonjourFailureOf(std::int32_t error);

/// After the first failure, and after one that followed a wait: the system takes what looks for peer-to-peer
/// links all the time for a waste of power.
inline constexpr std::chrono::seconds kFirstBonjourRetry{10};
constexpr std::chrono::seconds nextBonjourRetry(std::chrono::seconds last) {
  constexpr std::chrono::seconds longest{640};
  return last >= longest ? longest : last * 2;
}

}  // namespace tevanto
