#pragma once

#include <memory>

#include "net/discovery/ServiceAdvertiser.h"

namespace tevanto {

/// Advertises by the system's multicast DNS responder (dns_sd), on peer-to-peer links too. A name that is
/// taken on the network is replaced by the system ("Name (2)"). After a failure that may pass it is tried
/// again: after ten seconds first, then less and less often.
///
/// A status is reported when it differs from the last one; the first one differs from `pending`. Dropping a
/// registration waits for a callback of it that runs on another thread, so do not hold a lock then that the
/// callback takes. Registrations may outlive the advertiser.
class BonjourServiceAdvertiser final : public ServiceAdvertiser {
 public:
  BonjourServiceAdvertiser();
  ~BonjourServiceAdvertiser() override;

  [[nodiscard]] Registration advertise(const ServiceDescription& service, StatusHandler onStatus) override;

 private:
  struct Core;
  const std::shared_ptr<Core> core_;
};

}  // namespace tevanto
