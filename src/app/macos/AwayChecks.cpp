#include "app/macos/AwayChecks.h"

#include "app/doctor/AwayDoctorChecks.h"
#include "p2p/transport/DeployedTransports.h"
#include "platform/macos/away/CloudKitDatabase.h"
#include "platform/macos/away/MacPeers.h"

namespace tevanto {

std::vector<DoctorCheck> awayChecks(UserDefaults& defaults) {
  const auto loop = EventLoop::background(2);
  const auto settings = macDeployment(defaults, LogSink::none());
  // The findings contain what the log would. With the addresses of the loopback interface: a TURN server on
  // this computer is one, too.
  const DeployedTransports transports(
      {.loop = loop, .mainQueue = loop->makeQueue("main"), .defaults = defaults, .log = LogSink::none()},
      {.settings = settings, .peers = macPeers(loop, true), .database = macCloudDatabase(settings)});
  return awayDoctorChecks({.settings = transports.settings(),
                           .loop = loop,
                           .http = transports.http(),
                           .webSockets = transports.webSockets(),
                           .loadPeers = [] { return Result<void>(); },  // linked, not loaded
                           .peers = transports.peers(),
                           .database = transports.database()});
}

}  // namespace tevanto
