#include <csignal>
#include <filesystem>
#include <utility>
#include <variant>
#include <vector>

#include "app/cli/CommandLine.h"
#include "app/cli/Commands.h"
#include "app/cli/SingleCompanion.h"
#include "app/linux/AwayChecks.h"
#include "app/linux/Companion.h"
#include "app/linux/DisplayBackends.h"
#include "app/linux/DoctorChecks.h"
#include "app/linux/UiChecks.h"
#include "core/Log.h"
#include "core/settings/JsonUserDefaults.h"

namespace tevanto {
namespace {

constexpr auto kDefaultsName = "defaults.json";

JsonUserDefaults openDefaults() {
  return {JsonUserDefaults::standardFile(kDefaultsName), Logger(LogSink::standardError(), "defaults")};
}

ExitCode run(const CompanionOptions& options) {
  const bool wantsDisplay = !options.headless && canReachDisplay();
  return runSingleCompanion(wantsDisplay, [&](const std::filesystem::path& folder) {
    auto defaults = openDefaults();
    return runCompanion(options, defaults, folder);
  });
}

ExitCode run(const StatusOptions& options) { return runStatus(options); }
ExitCode run(const KeepAwakeOptions& options) { return runKeepAwake(options); }
ExitCode run(const DefaultsOptions& options) {
  auto defaults = openDefaults();
  return runDefaults(options, defaults);
}

ExitCode run(const DoctorOptions& options) {
  auto defaults = openDefaults();
  auto checks = doctorChecks(options, JsonUserDefaults::standardFile(kDefaultsName));
  for (auto& check : uiChecks()) checks.push_back(std::move(check));
  for (auto& check : awayChecks(defaults)) checks.push_back(std::move(check));
  runDoctor(checks, options.json);
}

ExitCode run(const EndNow& end) { return static_cast<ExitCode>(end.exitStatus); }

}  // namespace
}  // namespace tevanto

extern "C" __attribute__((visibility("default"))) int tevantoRunProgram(int argc, char** argv) {
  // A reader that has gone away is an error of the write, not the end of the program.
  std::signal(SIGPIPE, SIG_IGN);
  const auto invocation = tevanto::parseCommandLine(argc, argv);
  return static_cast<int>(std::visit([](const auto& options) { return tevanto::run(options); }, invocation));
}
