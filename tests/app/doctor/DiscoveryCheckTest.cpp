#include "app/doctor/DiscoveryCheck.h"

#include <gmock/gmock.h>

#include <memory>
#include <optional>
#include <utility>

namespace tevanto {
namespace {

using testing::HasSubstr;

/// Answers at once.
class AnsweringAdvertiser final : public ServiceAdvertiser {
 public:
  explicit AnsweringAdvertiser(AdvertisingStatus answer) : answer_(std::move(answer)) {}

  Registration advertise(const ServiceDescription& service, StatusHandler onStatus) override {
    advertised = service;
    onStatus({AdvertisingState::pending, service.name, ""});
    onStatus(answer_);
    onStatus({AdvertisingState::unavailable, service.name, "later"});
    auto registration = std::make_shared<int>(0);
    held = registration;
    return registration;
  }

  ServiceDescription advertised;
  std::weak_ptr<void> held;

 private:
  const AdvertisingStatus answer_;
};

struct Trial {
  explicit Trial(AdvertisingStatus answer) : advertiser(std::move(answer)) {}

  Result<std::string> run(Result<bool> resolves) {
    return tryDiscovery({advertiser,
                         [this, resolves](const ServiceDescription& service) {
                           lookedFor = service;
                           wasHeld = !advertiser.held.expired();
                           return resolves;
                         },
                         "start the responder", "open the firewall"});
  }

  AnsweringAdvertiser advertiser;
  std::optional<ServiceDescription> lookedFor;
  bool wasHeld = false;
};

TEST(DiscoveryCheck, looksForWhatItAdvertisedWhileItIsThere) {
  Trial trial({AdvertisingState::advertised, "Doctor (2)", ""});
  EXPECT_TRUE(trial.run(true).ok());
  ASSERT_TRUE(trial.lookedFor);
  auto wanted = trial.advertiser.advertised;
  wanted.name = "Doctor (2)";  // the network had another one
  EXPECT_EQ(*trial.lookedFor, wanted);
  EXPECT_EQ(wanted.type, "_tevanto-doctor._tcp");
  EXPECT_TRUE(trial.wasHeld);
  EXPECT_TRUE(trial.advertiser.held.expired());
}

TEST(DiscoveryCheck, saysWhyNothingIsAdvertised) {
  Trial trial({AdvertisingState::unavailable, "", "nobody answers"});
  const auto outcome = trial.run(true);
  ASSERT_FALSE(outcome.ok());
  EXPECT_EQ(outcome.error(),
            "Phones cannot find this computer by itself (nobody answers); start the responder.");
  EXPECT_FALSE(trial.lookedFor);
}

TEST(DiscoveryCheck, tellsARecordThatCannotBeResolvedFromANetworkThatCannotBeBrowsed) {
  Trial unresolved({AdvertisingState::advertised, "Doctor", ""});
  EXPECT_THAT(unresolved.run(false).error(), HasSubstr("cannot be resolved; open the firewall."));
  Trial unbrowsed({AdvertisingState::advertised, "Doctor", ""});
  EXPECT_THAT(unbrowsed.run(Failure{"no socket"}).error(), HasSubstr("cannot be browsed: no socket"));
}

}  // namespace
}  // namespace tevanto
