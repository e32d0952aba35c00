#include "app/cli/SingleCompanion.h"

#include <chrono>
#include <string>
#include <thread>

#include "app/cli/Commands.h"
#include "app/ipc/CompanionLock.h"
#include "app/ipc/RuntimeFolder.h"

namespace tevanto {
namespace {

constexpr auto kHandOverTimeout = std::chrono::seconds(5);
constexpr auto kPause = std::chrono::milliseconds(50);

}  // namespace

ExitCode runSingleCompanion(bool wantsDisplay,
                            const std::function<ExitCode(const std::filesystem::path& folder)>& run) {
  const auto folder = runtimeFolder();
  if (!folder) return complain(folder.error());
  const auto deadline = std::chrono::steady_clock::now() + kHandOverTimeout;
  do {
    const auto lock = CompanionLock::tryAcquire(folder.value());
    if (!lock) return complain(lock.error());
    if (lock.value()) return run(folder.value());
    if (!(wantsDisplay && askToGiveWay(folder.value()))) {
      if (const auto code = handOverToRunningCompanion(folder.value())) return *code;
    }
    std::this_thread::sleep_for(kPause);
  } while (std::chrono::steady_clock::now() < deadline);
  return complain("A companion runs as process " + std::to_string(CompanionLock::holder(folder.value())) +
                  " but does not answer; end it and start again.");
}

}  // namespace tevanto
