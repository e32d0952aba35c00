#include <csignal>
#include <filesystem>
#include <utility>
#include <variant>
#include <vector>

#include "app/cli/CommandLine.h"
#include "app/cli/Commands.h"
#include "app/cli/SingleCompanion.h"
#include "app/macos/AwayChecks.h"
#include "app/macos/Companion.h"
#include "app/macos/DoctorChecks.h"
#include "app/runtime/DesktopUi.h"
#include "app/ui/macos/MacDesktopUi.h"
#include "platform/macos/foundation/CfUserDefaults.h"

namespace tevanto {
namespace {

ExitCode run(const CompanionOptions& options) {
  return runSingleCompanion(false, [&](const std::filesystem::path& folder) {
    CfUserDefaults defaults;
    return runCompanion(options, defaults, folder, options.headless ? nullptr : makeMacDesktopUi());
  });
}

ExitCode run(const StatusOptions& options) { return runStatus(options); }
ExitCode run(const KeepAwakeOptions& options) { return runKeepAwake(options); }
ExitCode run(const DefaultsOptions& options) {
  CfUserDefaults defaults;
  return runDefaults(options, defaults);
}

ExitCode run(const DoctorOptions& options) {
  CfUserDefaults defaults;
  auto checks = doctorChecks(options);
  for (auto& check : awayChecks(defaults)) checks.push_back(std::move(check));
  runDoctor(checks, options.json);
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
