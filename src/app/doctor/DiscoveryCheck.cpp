#include "app/doctor/DiscoveryCheck.h"

#include <chrono>
#include <memory>

#include "core/queue/OneShotResult.h"
#include "core/text/Uuid.h"

namespace tevanto {
namespace {

constexpr auto kServiceType = "_tevanto-doctor._tcp";
constexpr std::uint16_t kDiscardPort = 9;  // nobody is to connect
constexpr auto kAnswerTimeout = std::chrono::seconds(8);

}  // namespace

Result<std::string> tryDiscovery(const DiscoveryTrial& trial) {
  const auto identifier = randomUuid();
  ServiceDescription service{
      "Tevanto doctor " + identifier.substr(0, 8), kServiceType, kDiscardPort, {{"id", identifier}}};
  const auto answer = std::make_shared<OneShotResult<AdvertisingStatus>>();
  const auto registration = trial.advertiser.advertise(service, [answer](const AdvertisingStatus& now) {
    if (now.state != AdvertisingState::pending) answer->set(now);
  });
  const auto status = answer->waitFor(kAnswerTimeout);
  if (!status || status->state != AdvertisingState::advertised) {
    const auto reason = status && !status->message.empty() ? " (" + status->message + ")" : "";
    return Failure{"Phones cannot find this computer by itself" + reason + "; " + trial.advertisingRemedy +
                   "."};
  }
  service.name = status->name;
  const auto resolves = trial.resolves(service);
  if (!resolves) return Failure{"The local network cannot be browsed: " + resolves.error()};
  if (resolves.value()) return std::string("our own record was advertised and resolved");
  return Failure{"A record of ours is advertised but cannot be resolved; " + trial.resolvingRemedy + "."};
}

}  // namespace tevanto
