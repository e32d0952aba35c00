#include "phone/connection/AwayRoute.h"

namespace tevanto::phone {

Answer<std::shared_ptr<AwayChannel>> AwayRoute::link(const GivesUp& givesUp) {
  if (auto link = link_.lock(); link && link->isReady()) return link;
  auto dialed = AwayChannel::dial(environment_, room_, timeout_, givesUp);
  if (dialed) link_ = *dialed;
  return dialed;
}

Answer<std::unique_ptr<LineChannel>> AwayRoute::connect(const Target&, const GivesUp& givesUp) {
  const auto dialed = link(givesUp);
  if (!dialed) return dialed.trouble();
  return (*dialed)->lines();
}

Answer<std::unique_ptr<ScreenChannel>> AwayRoute::connectScreen(const Target&, const GivesUp& givesUp) {
  const auto dialed = link(givesUp);
  if (!dialed) return dialed.trouble();
  return (*dialed)->screen();
}

std::string AwayRoute::route() const {
  const auto current = link_.lock();
  const auto isRelayed = current ? current->isRelayed() : std::nullopt;
  if (!isRelayed) return "unknown";
  return *isRelayed ? "TURN relay" : "direct";
}

}  // namespace tevanto::phone
