#include "platform/macos/network/BonjourServiceAdvertiser.h"

#import <dispatch/dispatch.h>

#include <utility>

#include "net/discovery/ServiceRecord.h"
#include "net/discovery/StatusReporter.h"
#include "platform/macos/network/BonjourRegistration.h"

namespace tevanto {

struct BonjourServiceAdvertiser::Core {
  // All that the library gives out lives on it, and its callbacks come there.
  const dispatch_queue_t queue = dispatch_queue_create("tevanto.bonjour", DISPATCH_QUEUE_SERIAL);
};

BonjourServiceAdvertiser::BonjourServiceAdvertiser() : core_(std::make_shared<Core>()) {}

BonjourServiceAdvertiser::~BonjourServiceAdvertiser() = default;

ServiceAdvertiser::Registration BonjourServiceAdvertiser::advertise(const ServiceDescription& service,
                                                                    StatusHandler onStatus) {
  auto cleaned = service;
  cleaned.name = serviceNameFrom(service.name);
  const auto reporter = std::make_shared<StatusReporter>(
      AdvertisingStatus{AdvertisingState::pending, cleaned.name, ""}, std::move(onStatus));
  const dispatch_queue_t queue = core_->queue;
  const auto registration = std::make_shared<BonjourRegistration>(queue, std::move(cleaned), reporter);
  dispatch_async(queue, ^{
    registration->begin();
  });
  return Registration(reporter.get(), [reporter, registration, queue](void*) {
    reporter->close();
    dispatch_async(queue, ^{
      registration->stop();
    });
  });
}

}  // namespace tevanto
