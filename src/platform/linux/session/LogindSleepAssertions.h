#pragma once

#include <map>
#include <optional>

#include "control/SleepAssertions.h"
#include "core/Log.h"
#include "platform/linux/dbus/BusConnection.h"

namespace tevanto {

/// LogindSleepAssertions keeps the system from idle sleep by an "idle" inhibitor of logind. Desktops that
/// decide on sleep themselves are asked too: the session manager (GNOME, MATE, Cinnamon) and the power
/// management of the session (KDE, Xfce). One identifier stands for all of them.
///
/// Nothing outlives this process: logind's inhibitor is an open descriptor, and the session's services drop
/// theirs when our connection closes. Main queue only. A call takes at most a few seconds, and that only with
/// a service that hangs.
class LogindSleepAssertions final : public SleepAssertions {
 public:
  explicit LogindSleepAssertions(Logger log, BusAddress systemBus = BusAddress::system(),
                                 BusAddress sessionBus = BusAddress::session());

  /// Succeeds when at least one of the services holds off sleep; else the code is the errno of logind's
  /// refusal. A type other than `kPreventUserIdleSystemSleep` is EINVAL.
  Created create(std::string_view type, std::string_view reason) override;
  /// EINVAL for an identifier that stands for nothing.
  Code release(std::uint32_t identifier) override;

 private:
  /// SessionInhibitors holds the inhibitors of the session's services; they live with the connection.
  struct SessionInhibitors {
    BusConnection connection;
    std::vector<BusCall> releaseCalls;
  };
  struct Held {
    Descriptor logind;
    std::optional<SessionInhibitors> session;
  };

  Code inhibitLogind(const std::string& reason, Descriptor& held);
  std::optional<SessionInhibitors> inhibitSession(const std::string& reason);

  Logger log_;
  BusAddress systemBus_;
  BusAddress sessionBus_;
  std::map<std::uint32_t, Held> held_;
  std::uint32_t nextIdentifier_ = 1;
};

}  // namespace tevanto
