#pragma once

#include <memory>
#include <utility>
#include <vector>

#include "net/discovery/ServiceAdvertiser.h"

namespace tevanto::test {

/// Keeps what was advertised and tells the status that a test wants told.
class FakeServiceAdvertiser final : public ServiceAdvertiser {
 public:
  std::vector<ServiceDescription> advertised;
  StatusHandler onStatus;  // of the last one

  Registration advertise(const ServiceDescription& service, StatusHandler handler) override {
    advertised.push_back(service);
    onStatus = std::move(handler);
    auto registration = std::make_shared<int>(0);
    last_ = registration;
    return registration;
  }

  /// Whether the last registration is still held.
  bool isHeld() const { return !last_.expired(); }

 private:
  std::weak_ptr<void> last_;
};

}  // namespace tevanto::test
