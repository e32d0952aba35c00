#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <utility>

#include "phone/connection/AwayChannel.h"
#include "phone/connection/Route.h"

namespace tevanto::phone {

/// AwayRoute connects to a companion on any network: both meet in a room at the relay or in the cloud. Lines
/// and screen share one session.
class AwayRoute final : public Route {
 public:
  AwayRoute(AwayChannel::Environment environment, std::string room, std::chrono::milliseconds timeout)
      : environment_(std::move(environment)), room_(std::move(room)), timeout_(timeout) {}

  /// The room is named by the companion's device identifier.
  Answer<Target> find(CompanionFinder::For) const override { return Target{{{}, 0}, room_}; }
  Answer<std::unique_ptr<LineChannel>> connect(const Target& target, const GivesUp& givesUp) override;
  Answer<Target> findScreen(const std::optional<Endpoint>&,
                            const std::optional<std::string>&) const override {
    return Target{{{}, 0}, room_};
  }
  Answer<std::unique_ptr<ScreenChannel>> connectScreen(const Target& target, const GivesUp& givesUp) override;
  bool comesBack() const override { return true; }
  std::string route() const override;

 private:
  Answer<std::shared_ptr<AwayChannel>> link(const GivesUp& givesUp);

  const AwayChannel::Environment environment_;
  const std::string room_;
  const std::chrono::milliseconds timeout_;
  std::weak_ptr<AwayChannel> link_;
};

}  // namespace tevanto::phone
