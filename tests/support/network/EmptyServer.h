#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/programs/ChildProcess.h"
#include "tests/support/programs/TemporaryFolder.h"

namespace tevanto::test {

class NetworkNamespace;

/// This system once more, as a server in the given network: with the same programs, and with an /etc, /run,
/// /var/log and processes of its own, so that what an owner does to his server can be done to it as it is
/// written. systemctl only notes what it is asked. Everything ends with this object.
class EmptyServer {
 public:
  /// Needs root and the kernel's namespaces.
  static bool permitted();

  explicit EmptyServer(const NetworkNamespace& network);
  ~EmptyServer();
  EmptyServer(const EmptyServer&) = delete;
  EmptyServer& operator=(const EmptyServer&) = delete;

  /// One of its files, named by its path there.
  std::filesystem::path file(const std::string& path) const;
  /// Runs a shell script as root, up to the first command that fails. Both of its outputs.
  ProgramResult run(const std::string& script) const;
  /// Starts a service.
  std::unique_ptr<ChildProcess> start(
      const std::vector<std::string>& command,
      const std::vector<std::pair<std::string, std::string>>& environment = {}) const;
  /// What systemctl was asked, a line each time.
  std::string askedOfSystemd() const;

 private:
  std::vector<std::string> inside(const std::vector<std::string>& command) const;

  TemporaryFolder folder_;
  std::unique_ptr<ChildProcess> system_;
};

}  // namespace tevanto::test
