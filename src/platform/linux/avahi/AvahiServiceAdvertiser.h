#pragma once

#include <chrono>
#include <memory>

#include "net/discovery/ServiceAdvertiser.h"

namespace tevanto {

/// Advertises through the Avahi daemon, which it follows: services are published again after the daemon was
/// restarted, once it appears, and after its host name changed; a name that is taken on the network is
/// replaced by its next alternative ("Name #2").
///
/// It may be used and destroyed on any thread, also inside a status callback. A status is reported when it
/// differs from the last one; the first one differs from `pending`. Dropping a registration waits for a
/// callback of it that runs on another thread, so do not hold a lock then that the callback takes.
class AvahiServiceAdvertiser final : public ServiceAdvertiser {
 public:
  /// `retryEvery` is the wait before another attempt to reach a system bus that is not there; nothing tells
  /// when it comes. A daemon that appears on the bus is seen at once.
  explicit AvahiServiceAdvertiser(std::chrono::milliseconds retryEvery = std::chrono::seconds(10));
  ~AvahiServiceAdvertiser() override;

  [[nodiscard]] Registration advertise(const ServiceDescription& service, StatusHandler onStatus) override;

 private:
  struct Core;
  std::shared_ptr<Core> core_;
};

}  // namespace tevanto
