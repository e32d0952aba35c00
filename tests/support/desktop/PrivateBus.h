#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/programs/ChildProcess.h"
#include "tests/support/programs/TemporaryFolder.h"

namespace tevanto::test {

/// A real D-Bus daemon of the test's own: anybody on it may own and call anything, and nothing is activated.
/// It serves as system bus or as session bus, whichever it is given out as.
class PrivateBus {
 public:
  PrivateBus();
  ~PrivateBus();

  /// The address, for DBUS_SESSION_BUS_ADDRESS or DBUS_SYSTEM_BUS_ADDRESS.
  const std::string& address() const { return address_; }
  /// For a child process that is to find this bus as both buses.
  std::vector<std::pair<std::string, std::string>> environment() const;

  ChildProcess& daemon() { return *daemon_; }
  void stop();
  /// Starts the daemon again, on the same address.
  void start();

  /// Whether somebody owns `name`.
  bool hasOwner(const std::string& name) const;
  /// Calls a method through gdbus; `arguments` are GVariant texts. The printed reply; throws on an error.
  std::string call(const std::string& name, const std::string& path, const std::string& method,
                   const std::vector<std::string>& arguments = {}) const;

 private:
  TemporaryFolder folder_;
  std::string address_;
  std::unique_ptr<ChildProcess> daemon_;
};

}  // namespace tevanto::test
