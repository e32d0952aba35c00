#include "platform/macos/values/network/BonjourErrors.h"

namespace tevanto {
namespace {

constexpr std::int32_t kBadParameter = -65540;
constexpr std::int32_t kNameConflict = -65548;
constexpr std::int32_t kInvalid = -65549;
constexpr std::int32_t kServiceNotRunning = -65563;
constexpr std::int32_t kNoAuthorization = -65555;
constexpr std::int32_t kDefunctConnection = -65569;
constexpr std::int32_t kPolicyDenied = -65570;

}  // namespace

BonjourFailure bonjourFailureOf(std::int32_t error) {
  switch (error) {
    case kBadParameter:
    case kInvalid:
      return {AdvertisingState::pending, "Bonjour does not publish the service: its description is invalid.",
              false};
    case kNameConflict:
      return {AdvertisingState::pending, "Another service on the network has this name.", false};
    case kNoAuthorization:
    case kPolicyDenied:
      return {AdvertisingState::unavailable,
              "macOS keeps this program from the local network. Allow it in System Settings > Privacy & "
              "Security > Local Network.",
              true};
    case kServiceNotRunning:
    case kDefunctConnection:
      return {AdvertisingState::unavailable, "Bonjour does not answer (mDNSResponder is not running).", true};
    default:
      return {AdvertisingState::pending, "Bonjour could not publish the service.", true};
  }
}

}  // namespace tevanto
