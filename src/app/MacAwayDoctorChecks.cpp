#include "app/MacAwayDoctorChecks.h"

#include "app/AwayDoctorChecks.h"
#include "platform/macos/MacTransports.h"

namespace tevanto {

std::vector<DoctorCheck> macAwayDoctorChecks(UserDefaults& defaults) {
  const auto loop = EventLoop::background(2);
  // The findings say what the log would. With the addresses of the loopback interface: a TURN server on this
  // computer is one, too.
  const MacTransports transports({.loop = loop,
                                  .mainQueue = loop->makeQueue("main"),
                                  .defaults = defaults,
                                  .log = LogSink::none(),
                                  .includeLoopback = true});
  return awayDoctorChecks({.settings = transports.settings(),
                           .loop = loop,
                           .http = transports.http(),
                           .webSockets = transports.webSockets(),
                           .loadPeers = [] { return Result<void>(); },  // linked, not loaded
                           .peers = transports.peers(),
                           .database = transports.database()});
}

}  // namespace tevanto
