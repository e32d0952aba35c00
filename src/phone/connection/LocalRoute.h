#pragma once

#include <chrono>

#include "phone/connection/CompanionFinder.h"
#include "phone/connection/Route.h"

namespace tevanto::phone {

/// LocalRoute connects to a companion on the local network, over TCP.
class LocalRoute final : public Route {
 public:
  LocalRoute(const CompanionFinder& finder, std::chrono::milliseconds timeout)
      : finder_(finder), timeout_(timeout) {}

  Answer<Target> find(CompanionFinder::For purpose) const override { return finder_.find(purpose); }
  Answer<std::unique_ptr<LineChannel>> connect(const Target& target, const GivesUp& givesUp) override;
  Answer<Target> findScreen(const std::optional<Endpoint>& screenHost,
                            const std::optional<std::string>& deviceID) const override;
  Answer<std::unique_ptr<ScreenChannel>> connectScreen(const Target& target, const GivesUp& givesUp) override;
  bool comesBack() const override { return false; }

 private:
  const CompanionFinder& finder_;
  const std::chrono::milliseconds timeout_;
};

}  // namespace tevanto::phone
