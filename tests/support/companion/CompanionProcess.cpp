#include "tests/support/companion/CompanionProcess.h"

#include <cstdio>
#include <stdexcept>

#include "app/ipc/IpcClient.h"
#include "tests/support/network/NetworkNamespace.h"
#include "tests/support/programs/Eventually.h"

namespace tevanto::test {

CompanionDesktop::CompanionDesktop() {
  for (const auto* name : {"config", "data", "runtime"}) {
    std::filesystem::create_directory(home_ / name);
    std::filesystem::permissions(home_ / name, std::filesystem::perms::owner_all);
  }
  environment = bus_.environment();
  environment.insert(environment.end(), {{"DISPLAY", display_.display()},
                                         {"XDG_CONFIG_HOME", (home_ / "config").string()},
                                         {"XDG_DATA_HOME", (home_ / "data").string()},
                                         {"XDG_RUNTIME_DIR", (home_ / "runtime").string()},
                                         {"PULSE_SERVER", "unix:" + (home_ / "no-sound").string()},
                                         {"XDG_CURRENT_DESKTOP", ""}});
}

ProgramResult CompanionDesktop::run(const std::string& program, std::vector<std::string> arguments) const {
  arguments.insert(arguments.begin(), program);
  return runProgram(std::move(arguments), {.environment = environment, .mergeErrors = true});
}

std::pair<int, int> CompanionDesktop::pointer() const {
  const auto shown = run("xdotool", {"getmouselocation", "--shell"}).output;
  int x = -1;
  int y = -1;
  std::sscanf(shown.c_str(), "X=%d Y=%d", &x, &y);
  return {x, y};
}

CompanionProcess::CompanionProcess(CompanionDesktop& desktop, const std::string& program,
                                   std::vector<std::string> arguments, const NetworkNamespace* network)
    : desktop_(desktop) {
  arguments.insert(arguments.begin(), {program, "--headless", "--remote-port", "0", "--screen-port", "0"});
  if (network) {
    arguments = network->inside(std::move(arguments));
  } else {
    arguments.emplace_back("--loopback-only");
  }
  process_ = std::make_unique<ChildProcess>(
      std::move(arguments), ChildProcess::Options{.environment = desktop.environment, .mergeErrors = true});
  const bool listens = eventually([this] { return !process_->isRunning() || port() != 0; });
  if (listens && process_->isRunning()) return;
  process_->terminate();
  throw std::runtime_error("the companion does not start:\n" + process_->readAll());
}

std::optional<CompanionStatus> CompanionProcess::status() const {
  const auto answer = askCompanion(desktop_.ipcSocket(), {});
  if (!answer || !answer.value()) return std::nullopt;
  return answer.value()->status;
}

std::uint16_t CompanionProcess::port() const {
  const auto now = status();
  return now ? static_cast<std::uint16_t>(now->remotePort) : 0;
}

}  // namespace tevanto::test
