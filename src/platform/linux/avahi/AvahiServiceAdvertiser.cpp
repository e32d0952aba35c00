#include "platform/linux/avahi/AvahiServiceAdvertiser.h"

#include <map>
#include <mutex>
#include <optional>
#include <utility>

#include "net/discovery/ServiceRecord.h"
#include "net/discovery/StatusReporter.h"
#include "platform/linux/avahi/AvahiLoop.h"
#include "platform/linux/avahi/AvahiPublisher.h"

namespace tevanto {

/// What the advertiser and its registrations share; it ends with the advertiser.
struct AvahiServiceAdvertiser::Core {
  explicit Core(std::chrono::milliseconds retryEvery) {
    // Made and destroyed on the loop's thread, as everything that the client library gives out.
    loop.post(
        [publisher = publisher, poll = loop.poll(), retryEvery] { publisher->emplace(poll, retryEvery); });
    loop.postLast([publisher = publisher] { publisher->reset(); });
  }
  ~Core() {
    for (auto& [id, reporter] : reporters) reporter->close();
  }

  AvahiPublisher::Id add(const ServiceDescription& service, const std::shared_ptr<StatusReporter>& reporter);
  void remove(AvahiPublisher::Id id);

  using Publisher = std::optional<AvahiPublisher>;
  const std::shared_ptr<Publisher> publisher = std::make_shared<Publisher>();
  std::mutex mutex;
  AvahiPublisher::Id lastId = 0;
  std::map<AvahiPublisher::Id, std::shared_ptr<StatusReporter>> reporters;
  AvahiLoop loop;  // ends first: its thread uses the rest
};

AvahiPublisher::Id AvahiServiceAdvertiser::Core::add(const ServiceDescription& service,
                                                     const std::shared_ptr<StatusReporter>& reporter) {
  AvahiPublisher::Id id = 0;
  {
    const std::lock_guard lock(mutex);
    id = ++lastId;
    reporters.emplace(id, reporter);
  }
  loop.post([publisher = publisher, id, service, reporter] { (*publisher)->add(id, service, reporter); });
  return id;
}

void AvahiServiceAdvertiser::Core::remove(AvahiPublisher::Id id) {
  {
    const std::lock_guard lock(mutex);
    reporters.erase(id);
  }
  loop.post([publisher = publisher, id] { (*publisher)->remove(id); });
}

AvahiServiceAdvertiser::AvahiServiceAdvertiser(std::chrono::milliseconds retryEvery)
    : core_(std::make_shared<Core>(retryEvery)) {}

AvahiServiceAdvertiser::~AvahiServiceAdvertiser() = default;

ServiceAdvertiser::Registration AvahiServiceAdvertiser::advertise(const ServiceDescription& service,
                                                                  StatusHandler onStatus) {
  auto cleaned = service;
  cleaned.name = serviceNameFrom(service.name);
  const auto reporter = std::make_shared<StatusReporter>(
      AdvertisingStatus{AdvertisingState::pending, cleaned.name, ""}, std::move(onStatus));
  const auto id = core_->add(cleaned, reporter);
  return Registration(reporter.get(), [reporter, id, core = std::weak_ptr(core_)](void*) {
    reporter->close();
    if (const auto alive = core.lock()) alive->remove(id);
  });
}

}  // namespace tevanto
