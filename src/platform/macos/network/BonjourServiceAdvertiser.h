#pragma once

#include <memory>

#include "net/discovery/ServiceAdvertiser.h"

namespace tevanto {

/// BonjourServiceAdvertiser advertises by the system's multicast DNS responder (dns_sd), on peer-to-peer
/// links too. The system replaces a name that is taken on the network ("Name (2)"). After a temporary failure
/// it tries again: after ten seconds first, then less and less often.
///
/// A status is reported when it differs from the last one; the first one differs from `pending`. Destroying a
/// registration waits for a callback of it that runs on another thread, so the caller must not hold a lock
/// that the callback takes. Registrations may outlive the advertiser.
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
