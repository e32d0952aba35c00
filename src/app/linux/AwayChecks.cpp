#include "app/linux/AwayChecks.h"

#include "app/doctor/AwayDoctorChecks.h"
#include "p2p/transport/DeployedTransports.h"
#include "platform/linux/webrtc/LinuxPeers.h"

namespace tevanto {

std::vector<DoctorCheck> awayChecks(UserDefaults& defaults) {
  const auto loop = EventLoop::background(2);
  // The findings contain what the log would. With the addresses of the loopback interface: a TURN server on
  // this computer is one, too.
  const auto peers = linuxPeers(LogSink::none(), true);
  const DeployedTransports transports(
      {.loop = loop, .mainQueue = loop->makeQueue("main"), .defaults = defaults, .log = LogSink::none()},
      {.settings = linuxDeployment(defaults, LogSink::none()), .peers = peers});
  return awayDoctorChecks({.settings = transports.settings(),
                           .loop = loop,
                           .http = transports.http(),
                           .webSockets = transports.webSockets(),
                           .loadPeers = [peers] { return peers->load(); },
                           .peers = transports.peers(),
                           .database = transports.database()});
}

}  // namespace tevanto
