#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "phone/connection/Answer.h"
#include "phone/connection/Channel.h"
#include "phone/connection/CompanionFinder.h"

namespace tevanto::phone {

/// GivesUp returns true when the user wants to end a long wait. It is called several times a second during
/// the wait.
using GivesUp = std::function<bool()>;

/// Route leads to companions: over the local network, or from another one. `find` costs little or nothing;
/// `connect` waits.
class Route {
 public:
  virtual ~Route() = default;

  virtual Answer<Target> find(CompanionFinder::For purpose) const = 0;
  virtual Answer<std::unique_ptr<LineChannel>> connect(const Target& target, const GivesUp& givesUp = {}) = 0;
  /// The address of the screen of the companion `deviceID`; without one, of the companion that a command
  /// would go to.
  virtual Answer<Target> findScreen(const std::optional<Endpoint>& screenHost,
                                    const std::optional<std::string>& deviceID) const = 0;
  virtual Answer<std::unique_ptr<ScreenChannel>> connectScreen(const Target& target,
                                                               const GivesUp& givesUp = {}) = 0;
  /// True when a lost connection is worth waiting for, because the phone stays away while its network comes
  /// and goes.
  virtual bool comesBack() const = 0;
  /// The way that the packets of the current connection take, for a person; empty where there is only one.
  virtual std::string route() const { return {}; }
};

}  // namespace tevanto::phone
