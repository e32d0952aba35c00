#pragma once

#include <optional>
#include <string>
#include <vector>

#include "core/Result.h"
#include "platform/linux/dbus/BusConnection.h"

namespace tevanto {

/// LogindSession locks and ends the user's session and switches the machine's power, through logind and the
/// desktop's own services. Failures are short texts for the phone.
///
/// Nothing here asks for authorization on the machine's screen. The user may be far away from it, and a
/// question that nobody answers would keep the phone waiting. A call that the system's policy does not allow
/// as it is fails at once, with the policy's text.
///
/// Any thread. It keeps nothing open. A call takes at most a few seconds, and that only with a service that
/// hangs.
class LogindSession {
 public:
  /// Identity names this process' session, process and user.
  struct Identity {
    std::string sessionId;  // logind's, empty when not known
    std::uint32_t process = 0;
    std::uint32_t user = 0;
    static Identity ofThisProcess();
  };

  explicit LogindSession(BusAddress systemBus = BusAddress::system(),
                         BusAddress sessionBus = BusAddress::session(),
                         Identity identity = Identity::ofThisProcess());

  /// Locks the session; where logind does not know it, the desktop's screen saver does.
  Result<void> lockSession();
  /// Ends the session: the desktop's session manager does it where there is one, because it lets the
  /// applications save; else logind ends it.
  Result<void> logOut();
  Result<void> restart();
  Result<void> shutDown();

 private:
  Result<void> callLogind(const char* method);
  Result<void> callOwnSession(const char* method);
  std::optional<std::string> ownSession(BusConnection& bus) const;
  std::optional<std::string> callingSession(BusConnection& bus) const;
  std::optional<std::string> displaySession(BusConnection& bus) const;
  /// The first service of the session bus that there is answers; nothing when there is none.
  std::optional<Result<void>> callFirst(const std::vector<BusCall>& services) const;

  BusAddress systemBus_;
  BusAddress sessionBus_;
  Identity identity_;
};

}  // namespace tevanto
