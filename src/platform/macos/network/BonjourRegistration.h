#pragma once

#include <dispatch/dispatch.h>
#include <dns_sd.h>

#include <chrono>
#include <cstdint>
#include <memory>

#include "net/discovery/ServiceAdvertiser.h"
#include "net/discovery/StatusReporter.h"
#include "platform/macos/values/network/BonjourErrors.h"

namespace tevanto {

/// BonjourRegistration is one service at the system's responder, from `begin` to `end`. Lives on the dispatch
/// queue that it is given; it may be made and destroyed anywhere.
class BonjourRegistration final : public std::enable_shared_from_this<BonjourRegistration> {
 public:
  BonjourRegistration(dispatch_queue_t queue, ServiceDescription service,
                      std::shared_ptr<StatusReporter> reporter);
  BonjourRegistration(const BonjourRegistration&) = delete;
  BonjourRegistration& operator=(const BonjourRegistration&) = delete;

  void begin();
  /// Final: nothing is reported any more.
  void stop();

 private:
  static void replied(DNSServiceRef reference, DNSServiceFlags flags, DNSServiceErrorType error,
                      const char* name, const char* type, const char* domain, void* context);
  DNSServiceErrorType registerService();
  void report(AdvertisingState state, const char* name, const char* message);
  void fail(DNSServiceErrorType error);
  void tryAgainLater();
  void releaseReference();

  const dispatch_queue_t queue_;
  const ServiceDescription service_;
  const std::shared_ptr<StatusReporter> reporter_;
  DNSServiceRef reference_ = nullptr;
  std::chrono::seconds nextRetry_ = kFirstBonjourRetry;
  bool hasEnded_ = false;
};

}  // namespace tevanto
