#include "app/LinuxAwayDoctorChecks.h"

#include <memory>

#include "app/AwayDoctorChecks.h"
#include "platform/linux/LinuxTransports.h"
#include "platform/linux/LoadedPeers.h"

namespace tevanto {

std::vector<DoctorCheck> linuxAwayDoctorChecks(UserDefaults& defaults) {
  const auto loop = EventLoop::background(2);
  // The findings say what the log would. With the addresses of the loopback interface: a TURN server on this
  // computer is one, too.
  const LinuxTransports transports({.loop = loop,
                                    .mainQueue = loop->makeQueue("main"),
                                    .defaults = defaults,
                                    .log = LogSink::none(),
                                    .includeLoopback = true});
  const auto& peers = transports.peers();
  return awayDoctorChecks({.settings = transports.settings(),
                           .loop = loop,
                           .http = transports.http(),
                           .webSockets = transports.webSockets(),
                           .loadPeers = [peers] { return peers->load(); },
                           .peers = peers,
                           .database = transports.database()});
}

}  // namespace tevanto
