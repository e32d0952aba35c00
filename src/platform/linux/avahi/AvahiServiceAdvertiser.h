#pragma once

#include <chrono>
#include <memory>

#include "net/discovery/ServiceAdvertiser.h"

namespace tevanto {

/// AvahiServiceAdvertiser advertises services through the Avahi daemon. It publishes them again after the
/// daemon was restarted, once it appears, and after its host name changed. A name that is taken on the
/// network is replaced by its next alternative ("Name #2").
///
/// Thread-safe; it may be used and destroyed inside a status callback too. A status is reported when it
/// differs from the last one; the first one differs from `pending`. Dropping a registration waits for a
/// callback of it that runs on another thread: hold no lock then that the callback takes.
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
