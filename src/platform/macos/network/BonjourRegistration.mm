#include "platform/macos/network/BonjourRegistration.h"

#include <arpa/inet.h>

#include <utility>

#include "net/discovery/ServiceRecord.h"

// bonjourFailureOf knows these numbers.
static_assert(kDNSServiceErr_BadParam == -65540 && kDNSServiceErr_NameConflict == -65548 &&
              kDNSServiceErr_Invalid == -65549 && kDNSServiceErr_NoAuth == -65555 &&
              kDNSServiceErr_ServiceNotRunning == -65563 && kDNSServiceErr_DefunctConnection == -65569 &&
              kDNSServiceErr_PolicyDenied == -65570);

namespace tevanto {
namespace {

constexpr DNSServiceFlags kPeerToPeerToo = kDNSServiceFlagsIncludeP2P | kDNSServiceFlagsIncludeAWDL;

}  // namespace

BonjourRegistration::BonjourRegistration(dispatch_queue_t queue, ServiceDescription service,
                                         std::shared_ptr<StatusReporter> reporter)
    : queue_(queue), service_(std::move(service)), reporter_(std::move(reporter)) {}

void BonjourRegistration::begin() {
  if (hasEnded_ || reference_) return;
  const auto error = registerService();
  if (error != kDNSServiceErr_NoError) fail(error);
}

void BonjourRegistration::stop() {
  hasEnded_ = true;
  releaseReference();
}

DNSServiceErrorType BonjourRegistration::registerService() {
  const auto text = textRecordOf(service_.txt);
  const auto error = DNSServiceRegister(&reference_, kPeerToPeerToo, kDNSServiceInterfaceIndexAny,
                                        service_.name.empty() ? nullptr : service_.name.c_str(),
                                        service_.type.c_str(), nullptr, nullptr, htons(service_.port),
                                        static_cast<std::uint16_t>(text.size()), text.data(), &replied, this);
  if (error != kDNSServiceErr_NoError) {
    reference_ = nullptr;
    return error;
  }
  return DNSServiceSetDispatchQueue(reference_, queue_);
}

// The reference is released on the queue that its replies come on, so that none comes for a context that is
// gone.
void BonjourRegistration::replied(DNSServiceRef, DNSServiceFlags flags, DNSServiceErrorType error,
                                  const char* name, const char*, const char*, void* context) {
  auto& self = *static_cast<BonjourRegistration*>(context);
  if (error != kDNSServiceErr_NoError) return self.fail(error);
  if ((flags & kDNSServiceFlagsAdd) != 0) {
    self.nextRetry_ = kFirstBonjourRetry;
    return self.report(AdvertisingState::advertised, name, "");
  }
  self.report(AdvertisingState::pending, name, "Bonjour took the service back.");
}

void BonjourRegistration::report(AdvertisingState state, const char* name, const char* message) {
  if (!hasEnded_) reporter_->report({state, name ? name : service_.name, message});
}

void BonjourRegistration::fail(DNSServiceErrorType error) {
  const auto failure = bonjourFailureOf(error);
  releaseReference();
  report(failure.state, nullptr, failure.message);
  if (failure.isWorthRetrying) tryAgainLater();
}

void BonjourRegistration::tryAgainLater() {
  const auto weak = weak_from_this();
  const std::chrono::nanoseconds wait = nextRetry_;
  nextRetry_ = nextBonjourRetry(nextRetry_);
  dispatch_after(dispatch_time(DISPATCH_TIME_NOW, wait.count()), queue_, ^{
    if (const auto self = weak.lock()) self->begin();
  });
}

void BonjourRegistration::releaseReference() {
  if (reference_) DNSServiceRefDeallocate(std::exchange(reference_, nullptr));
}

}  // namespace tevanto
