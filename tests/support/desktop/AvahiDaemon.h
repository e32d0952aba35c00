#pragma once

#include <memory>
#include <string>

#include "tests/support/programs/ChildProcess.h"
#include "tests/support/programs/TemporaryFolder.h"

namespace tevanto::test {

class PrivateBus;

/// A real avahi-daemon on the loopback interface of a network of its own (a network and mount namespace), so
/// that any number may run at once and nothing reaches the machine's network. It is spoken to through the bus
/// that it is given, which serves as its system bus. Needs root, or a kernel that lets users make namespaces.
class AvahiDaemon {
 public:
  struct Options {
    std::string hostName = "tevanto-test";
    /// Another daemon, to whose network this one's gets a cable (10.99.0.1 there, 10.99.0.2 here, interface
    /// "tevanto0" on both ends), so that the two hear each other as two machines do. Both run as root.
    const AvahiDaemon* besides = nullptr;
  };

  /// Starts it and waits until it is up; throws with its log when it does not come up.
  explicit AvahiDaemon(const PrivateBus& bus) : AvahiDaemon(bus, Options()) {}
  AvahiDaemon(const PrivateBus& bus, Options options);
  ~AvahiDaemon();
  AvahiDaemon(const AvahiDaemon&) = delete;
  AvahiDaemon& operator=(const AvahiDaemon&) = delete;

  /// SIGKILL: it says no goodbye on the network.
  void kill();
  /// Starts it again after `kill`, in a network of its own.
  void start();

  pid_t pid() const { return daemon_->pid(); }
  std::string log() const;
  /// The D-Bus state of its server, as avahi-common/defs.h numbers them: 2 is running, nothing without a
  /// daemon.
  std::string state() const;

 private:
  const PrivateBus& bus_;
  Options options_;
  TemporaryFolder folder_;
  std::unique_ptr<ChildProcess> daemon_;
};

}  // namespace tevanto::test
