#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tests/support/programs/ChildProcess.h"

namespace tevanto::test {

/// An X server of the test's own, without a screen to look at. It listens on a local socket only, under a
/// display number of its own.
class XvfbServer {
 public:
  /// `options` go to the server in addition.
  explicit XvfbServer(std::string geometry = "1280x800x24", std::vector<std::string> options = {});

  /// ":7"
  const std::string& display() const { return display_; }
  ChildProcess& process() { return *process_; }

  /// Ends the server as a crash would.
  void kill() { process_->kill(); }
  /// A new server under the same display number; ends the old one if it still runs.
  void restart();
  /// Sets the keyboard layout ("us", "fr", "us,gr", ...) by setxkbmap.
  void setLayout(const std::string& layout);

 private:
  bool start();

  std::string geometry_;
  std::vector<std::string> options_;
  std::string display_;
  std::unique_ptr<ChildProcess> process_;
};

}  // namespace tevanto::test
