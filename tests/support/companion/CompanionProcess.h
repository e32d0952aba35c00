#pragma once

#include <chrono>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "app/ipc/CompanionStatus.h"
#include "tests/support/desktop/PrivateBus.h"
#include "tests/support/desktop/XvfbServer.h"
#include "tests/support/programs/ChildProcess.h"
#include "tests/support/programs/TemporaryFolder.h"

namespace tevanto::test {

class NetworkNamespace;

/// A desktop and a home of the test's own, in which real programs of ours run: an X server, one D-Bus daemon
/// as both buses, and empty XDG folders. No sound and no discovery; a test adds what it needs to
/// `environment`.
class CompanionDesktop {
 public:
  CompanionDesktop();

  /// Set for every program that is started in it.
  std::vector<std::pair<std::string, std::string>> environment;

  XvfbServer& display() { return display_; }
  const XvfbServer& display() const { return display_; }
  PrivateBus& bus() { return bus_; }
  std::filesystem::path configFolder() const { return home_ / "config"; }
  std::filesystem::path ipcSocket() const { return home_ / "runtime" / "tevanto" / "control.sock"; }

  /// Runs `program` to its end; its errors join its output.
  ProgramResult run(const std::string& program, std::vector<std::string> arguments) const;
  /// Where the pointer stands.
  std::pair<int, int> pointer() const;

 private:
  XvfbServer display_;
  PrivateBus bus_;
  TemporaryFolder home_;
};

/// A real companion on a desktop of its own, on any free port of loopback, or of a network of the test's own.
class CompanionProcess {
 public:
  /// Starts `program` and waits until it listens; throws with its output when it does not.
  CompanionProcess(CompanionDesktop& desktop, const std::string& program,
                   std::vector<std::string> arguments = {}, const NetworkNamespace* network = nullptr);

  /// What it tells through its control socket; nothing when it does not answer.
  std::optional<CompanionStatus> status() const;
  std::uint16_t port() const;
  ChildProcess& process() { return *process_; }

 private:
  CompanionDesktop& desktop_;
  std::unique_ptr<ChildProcess> process_;
};

}  // namespace tevanto::test
