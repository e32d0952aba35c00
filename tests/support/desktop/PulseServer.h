#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/programs/ChildProcess.h"
#include "tests/support/programs/TemporaryFolder.h"

namespace tevanto::test {

/// A real PulseAudio server of the test's own, with one null sink, on a private socket.
class PulseServer {
 public:
  static constexpr auto kSink = "tevanto_null";

  PulseServer();

  /// The address, for PULSE_SERVER.
  const std::string& address() const { return address_; }
  /// For a child process that is to find this server.
  std::vector<std::pair<std::string, std::string>> environment() const;

  ChildProcess& process() { return *process_; }
  /// SIGKILL, as in a crash.
  void kill() { process_->kill(); }
  /// Starts the server again, on the same address.
  void start();

  /// What pactl prints; throws when it fails.
  std::string pactl(const std::vector<std::string>& arguments) const;
  /// The default sink's volumes in percent, one for each channel, and whether it is muted, by pactl.
  std::vector<int> volumes() const;
  bool isMuted() const;

 private:
  TemporaryFolder folder_;
  std::string address_;
  std::unique_ptr<ChildProcess> process_;
};

}  // namespace tevanto::test
