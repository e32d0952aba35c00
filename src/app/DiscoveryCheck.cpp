#include "app/DiscoveryCheck.h"

#include <atomic>
#include <chrono>
#include <future>
#include <memory>

#include "core/Uuid.h"

namespace tevanto {
namespace {

constexpr auto kServiceType = "_tevanto-doctor._tcp";
constexpr std::uint16_t kDiscardPort = 9;  // nobody is to connect
constexpr auto kPatience = std::chrono::seconds(8);

/// The first word on whether the service is visible.
class Visibility {
 public:
  ServiceAdvertiser::StatusHandler handler() const {
    return [told = told_](const AdvertisingStatus& now) {
      if (now.state != AdvertisingState::pending && !told->isOver.test_and_set())
        told->promise.set_value(now);
    };
  }
  std::optional<AdvertisingStatus> wait() const {
    auto status = told_->promise.get_future();
    if (status.wait_for(kPatience) != std::future_status::ready) return std::nullopt;
    return status.get();
  }

 private:
  struct Told {
    std::promise<AdvertisingStatus> promise;
    std::atomic_flag isOver;
  };
  const std::shared_ptr<Told> told_ = std::make_shared<Told>();
};

}  // namespace

Result<std::string> tryDiscovery(const DiscoveryTrial& trial) {
  const auto identifier = randomUuid();
  ServiceDescription service{
      "Tevanto doctor " + identifier.substr(0, 8), kServiceType, kDiscardPort, {{"id", identifier}}};
  const Visibility visibility;
  const auto registration = trial.advertiser.advertise(service, visibility.handler());
  const auto status = visibility.wait();
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
