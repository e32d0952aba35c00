#pragma once

#include <chrono>
#include <cstdint>

#include "net/discovery/ServiceAdvertiser.h"

namespace tevanto {

/// BonjourFailure is the consequence of a DNSServiceErrorType for a service that should be visible.
struct BonjourFailure {
  AdvertisingState state = AdvertisingState::pending;
  const char* message = "";  // for a person
  bool isWorthRetrying = false;
};

BonjourFailure bonjourFailureOf(std::int32_t error);

/// The wait after the first failure; `nextBonjourRetry` gives the wait after a later one. The waits grow
/// because frequent registrations search for peer-to-peer links and drain the battery.
inline constexpr std::chrono::seconds kFirstBonjourRetry{10};
constexpr std::chrono::seconds nextBonjourRetry(std::chrono::seconds last) {
  constexpr std::chrono::seconds longest{640};
  return last >= longest ? longest : last * 2;
}

}  // namespace tevanto
