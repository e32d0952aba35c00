#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "phone/connection/Answer.h"
#include "phone/connection/CompanionFinder.h"
#include "phone/connection/LineChannel.h"
#include "phone/connection/ScreenChannel.h"

namespace tevanto::phone {

/// Asked now and then during a long wait: whether the user has had enough.
using GivesUp = std::function<bool()>;

/// A way to companions: over the local network, or from far away. Finding costs little or nothing; connecting
/// waits.
class Route {
 public:
  virtual ~Route() = default;

  virtual Answer<Target> find(CompanionFinder::For purpose) const = 0;
  virtual Answer<std::unique_ptr<LineChannel>> connect(const Target& target, const GivesUp& givesUp = {}) = 0;
  /// Where the screen of a companion can be seen: of this one, or where it is not named, of the one that a
  /// command would go to.
  virtual Answer<Target> findScreen(const std::optional<Endpoint>& screenHost,
                                    const std::optional<std::string>& deviceID) const = 0;
  virtual Answer<std::unique_ptr<ScreenChannel>> connectScreen(const Target& target,
                                                               const GivesUp& givesUp = {}) = 0;
  /// Whether a lost connection is worth waiting for: the phone stays away while its network comes and goes.
  virtual bool comesBack() const = 0;
  /// How the packets of the current connection go, for a person; empty where there is but one way.
  virtual std::string route() const { return {}; }
};

}  // namespace tevanto::phone
