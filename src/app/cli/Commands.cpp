#include "app/cli/Commands.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>

#include "app/cli/CompanionText.h"
#include "app/cli/DefaultsText.h"
#include "app/ipc/IpcClient.h"
#include "app/ipc/RuntimeFolder.h"
#include "core/settings/UserDefaults.h"

namespace tevanto {
namespace {

/// Beyond the longest of the checks, the TURN servers: credentials, then an allocation.
constexpr auto kDoctorTimeout = std::chrono::seconds(15);

void print(const std::string& text) { std::fputs(text.c_str(), stdout); }

Result<std::optional<IpcReply>> ask(const IpcRequest& request) {
  const auto folder = runtimeFolder();
  if (!folder) return Failure{folder.error()};
  return askCompanion(ipcSocketIn(folder.value()), request);
}

/// What the desktop gave to the program that it started, so that its window may come forward: on Wayland, on
/// X11.
std::string activationToken() {
  for (const auto* name : {"XDG_ACTIVATION_TOKEN", "DESKTOP_STARTUP_ID"}) {
    const char* token = std::getenv(name);
    if (token && *token) return token;
  }
  return {};
}

/// Asks, and complains where that does not bring an answer. `code` then tells how to end.
std::optional<IpcReply> askOrComplain(const IpcRequest& request, ExitCode& code) {
  auto answer = ask(request);
  if (!answer) {
    code = complain(answer.error());
    return std::nullopt;
  }
  if (!answer.value()) code = complain("No companion runs; start it with: tevanto", ExitCode::notRunning);
  return std::move(answer).value();
}

ExitCode listDefaults(const UserDefaults& defaults) {
  for (const auto& [key, value] : defaults.all()) {
    print(key + " = " +
          (isSecretDefault(key) ? "(hidden; shown by: tevanto defaults get " + key + ")"
                                : defaultsText(value)) +
          "\n");
  }
  return ExitCode::done;
}

ExitCode getDefault(const UserDefaults& defaults, const std::string& key) {
  const auto value = defaults.value(key);
  if (!value) return complain("There is no setting \"" + key + "\"; tevanto defaults list shows them.");
  print(defaultsText(*value) + "\n");
  return ExitCode::done;
}

/// A companion that runs learns of the change; without one there is nobody to tell.
ExitCode reloadCompanion() {
  const auto answer = ask({IpcRequest::Kind::reloadDefaults});
  if (answer) return ExitCode::done;
  return complain("The setting is stored, but the running companion does not know of it: " + answer.error());
}

ExitCode setDefault(UserDefaults& defaults, const DefaultsOptions& options) {
  auto value = defaultsValueFrom(options.value, options.type);
  if (!value) return complain(value.error(), ExitCode::usage);
  const auto stored = defaults.set(options.key, std::move(value).value());
  return stored ? reloadCompanion() : complain(stored.error());
}

ExitCode removeDefault(UserDefaults& defaults, const std::string& key) {
  if (!defaults.value(key)) return complain("There is no setting \"" + key + "\" to remove.");
  const auto removed = defaults.remove(key);
  return removed ? reloadCompanion() : complain(removed.error());
}

}  // namespace

ExitCode runStatus(const StatusOptions& options) {
  auto code = ExitCode::done;
  const auto reply = askOrComplain({IpcRequest::Kind::status}, code);
  if (!reply) return code;
  if (!reply->ok || !reply->status) return complain(reply->error);
  print(options.json ? encodeCompanionStatus(*reply->status) + "\n" : statusLines(*reply->status));
  return ExitCode::done;
}

ExitCode runKeepAwake(const KeepAwakeOptions& options) {
  auto code = ExitCode::done;
  const auto reply = askOrComplain({IpcRequest::Kind::keepAwake, options.on}, code);
  if (!reply) return code;
  if (!reply->ok) return complain(reply->error);
  print((reply->status ? reply->status->keepAwakeStatusText : std::string("done")) + "\n");
  return ExitCode::done;
}

ExitCode runDefaults(const DefaultsOptions& options, UserDefaults& defaults) {
  switch (options.action) {
    case DefaultsOptions::Action::list:
      return listDefaults(defaults);
    case DefaultsOptions::Action::get:
      return getDefault(defaults, options.key);
    case DefaultsOptions::Action::set:
      return setDefault(defaults, options);
    case DefaultsOptions::Action::remove:
      return removeDefault(defaults, options.key);
  }
  return ExitCode::usage;
}

void runDoctor(const std::vector<DoctorCheck>& checks, bool json) {
  std::vector<DoctorFinding> findings;
  tryChecks(checks, kDoctorTimeout, [&](DoctorFinding finding) {
    if (!json) std::printf("%s\n", doctorLine(finding).c_str());
    std::fflush(stdout);
    findings.push_back(std::move(finding));
  });
  if (json) std::printf("%s\n", doctorJson(findings).c_str());
  std::fflush(stdout);
  std::_Exit(static_cast<int>(allOk(findings) ? ExitCode::done : ExitCode::failed));
}

std::optional<ExitCode> handOverToRunningCompanion(const std::filesystem::path& folder) {
  const auto answer = askCompanion(
      ipcSocketIn(folder), {.kind = IpcRequest::Kind::showSetupWindow, .activationToken = activationToken()});
  if (!answer) return complain(answer.error());
  const auto& reply = answer.value();
  if (!reply) return std::nullopt;
  if (!reply->ok || !reply->status) return complain(reply->error);
  print("Tevanto runs already, as process " + std::to_string(reply->status->processID) + ".\n");
  print(companionPanel(*reply->status, phoneProgramForUser(), TextStyle::forStandardOutput()));
  return ExitCode::done;
}

bool askToGiveWay(const std::filesystem::path& folder) {
  const auto answer = askCompanion(ipcSocketIn(folder), {IpcRequest::Kind::giveWay});
  return answer && answer.value() && answer.value()->ok;
}

ExitCode complain(const std::string& sentence, ExitCode code) {
  std::fprintf(stderr, "tevanto: %s\n", sentence.c_str());
  return code;
}

}  // namespace tevanto
