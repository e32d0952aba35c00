#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <thread>
#include <utility>
#include <variant>
#include <vector>

#include "app/CommandLine.h"
#include "app/Commands.h"
#include "app/CompanionLock.h"
#include "app/Doctor.h"
#include "app/LinuxAwayDoctorChecks.h"
#include "app/LinuxCompanion.h"
#include "app/LinuxDoctorChecks.h"
#include "app/LinuxFaceChecks.h"
#include "app/RuntimeFolder.h"
#include "core/JsonUserDefaults.h"
#include "core/Log.h"
#include "platform/linux/DisplayReach.h"
#include "remote/MacRemoteServer.h"

namespace tevanto {
namespace {

constexpr auto kDefaultsName = "defaults.json";
constexpr std::uint16_t kDefaultScreenPort = 51638;
/// Beyond the longest of the checks, the TURN servers: credentials, then an allocation.
constexpr auto kDoctorPatience = std::chrono::seconds(15);
constexpr auto kHandOverPatience = std::chrono::seconds(5);

JsonUserDefaults openDefaults() {
  return {JsonUserDefaults::standardFile(kDefaultsName), Logger(LogSink::standardError(), "defaults")};
}

ExitCode run(const CompanionOptions& options) {
  const auto folder = runtimeFolder();
  if (!folder) return complain(folder.error());
  const auto deadline = std::chrono::steady_clock::now() + kHandOverPatience;
  const bool wantsWindow = !options.headless && canReachDisplay();
  do {
    const auto lock = CompanionLock::tryAcquire(folder.value());
    if (!lock) return complain(lock.error());
    if (lock.value()) {
      auto defaults = openDefaults();
      return runLinuxCompanion(options, defaults, folder.value());
    }
    if (wantsWindow && askToGiveWay(folder.value())) {
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
      continue;
    }
    if (const auto code = handOverToRunningCompanion(folder.value())) return *code;
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  } while (std::chrono::steady_clock::now() < deadline);
  return complain("A companion runs as process " + std::to_string(CompanionLock::holder(folder.value())) +
                  " but does not answer; end it and start again.");
}

ExitCode run(const StatusOptions& options) { return runStatus(options); }
ExitCode run(const KeepAwakeOptions& options) { return runKeepAwake(options); }
ExitCode run(const DefaultsOptions& options) {
  auto defaults = openDefaults();
  return runDefaults(options, defaults);
}

ExitCode run(const DoctorOptions& options) {
  auto defaults = openDefaults();
  auto checks = linuxDoctorChecks(options.remotePort.value_or(MacRemoteServer::kDefaultPort),
                                  options.screenPort.value_or(kDefaultScreenPort),
                                  JsonUserDefaults::standardFile(kDefaultsName));
  for (auto& check : linuxFaceChecks()) checks.push_back(std::move(check));
  for (auto& check : linuxAwayDoctorChecks(defaults)) checks.push_back(std::move(check));
  std::vector<DoctorFinding> findings;
  tryChecks(checks, kDoctorPatience, [&](DoctorFinding finding) {
    if (!options.json) std::printf("%s\n", doctorLine(finding).c_str());
    std::fflush(stdout);
    findings.push_back(std::move(finding));
  });
  if (options.json) std::printf("%s\n", doctorJson(findings).c_str());
  std::fflush(stdout);
  // A check that hangs has left its thread behind; nothing may wait for it.
  std::_Exit(static_cast<int>(allOk(findings) ? ExitCode::done : ExitCode::failed));
}

ExitCode run(const EndNow& end) { return static_cast<ExitCode>(end.exitStatus); }

}  // namespace
}  // namespace tevanto

int main(int argc, char** argv) {
  // A reader that has gone away is an error of the write, not the end of the program.
  std::signal(SIGPIPE, SIG_IGN);
  const auto invocation = tevanto::parseCommandLine(argc, argv);
  return static_cast<int>(std::visit([](const auto& options) { return tevanto::run(options); }, invocation));
}
