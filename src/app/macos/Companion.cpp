#include "app/macos/Companion.h"

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "app/cli/Commands.h"
#include "app/cli/CompanionTerminal.h"
#include "app/ipc/IpcRequestHandler.h"
#include "app/ipc/IpcServer.h"
#include "app/ipc/RuntimeFolder.h"
#include "app/macos/Services.h"
#include "app/runtime/DesktopUi.h"
#include "app/runtime/LocalAddresses.h"
#include "app/runtime/MacAppDelegate.h"
#include "app/runtime/PublicLinks.h"
#include "app/runtime/UiActions.h"
#include "control/MacPowerManager.h"
#include "core/settings/DeviceIdentity.h"
#include "core/settings/UserDefaults.h"
#include "platform/macos/away/MacPeers.h"
#include "platform/macos/foundation/UnifiedLogSink.h"

namespace tevanto {
namespace {

/// How long work in the background may hold up the end of the process.
constexpr auto kShutdownTimeout = std::chrono::seconds(3);

void print(const std::string& text) {
  std::fputs(text.c_str(), stdout);
  std::fflush(stdout);
}

class Companion {
 public:
  Companion(const CompanionOptions& options, UserDefaults& defaults, std::unique_ptr<DesktopUi> ui)
      : defaults_(defaults),
        ui_(std::move(ui)),
        mainLoop_(ui_ ? nullptr : EventLoop::forCallingThread()),
        mainQueue_(ui_ ? ui_->mainQueue() : mainLoop_->makeQueue("main")),
        services_(options, defaults, log_, mainQueue_),
        terminal_({mainQueue_, [this] { return ipc_.status(); }, print, phoneProgramForUser(),
                   TextStyle::forStandardOutput()}),
        runtime_(ui_ ? services_.factories(*ui_, *ui_) : services_.factories(terminal_, terminal_)),
        application_(ui_ ? static_cast<ApplicationPresence&>(*ui_) : terminal_, runtime_),
        ipc_({runtime_, application_, defaults, advertisedName(services_.computerName()),
              [here = options.loopbackOnly] { return here ? std::vector<std::string>() : localAddresses(); },
              [] {}, [](const std::string&) {}, [] { return false; }}) {}

  ~Companion() {
    if (ending_.joinable()) ending_.join();
  }

  ExitCode run(const std::filesystem::path& runtimeFolder) {
    if (!ui_) terminal_.follow(runtime_);
    services_.networkLoop().onSignals({SIGINT, SIGTERM, SIGHUP},
                                      [this](int) { mainQueue_->async([this] { stop(); }); });
    mainQueue_->async([this] { launch(); });
    auto server = IpcServer::listen(
        services_.networkQueue(), ipcSocketIn(runtimeFolder), {},
        [this](std::string_view line) { return ipc_.answer(line); }, mainQueue_);
    if (!server) return complain(server.error());
    ipcSocket_ = std::move(server).value();
    runLoop();
    return ExitCode::done;
  }

 private:
  /// Runs until `stop`.
  void runLoop() {
    if (!ui_) return mainLoop_->run();
    auto operations = UiActions::of(runtime_);
    operations.quit = [this] { stop(); };
    ui_->present({.runtime = runtime_,
                  .defaults = defaults_,
                  .operations = std::move(operations),
                  .links = PublicLinks::of(macDeployment(defaults_, log_)),
                  .displayLost = {}});  // a Mac's does not go away
    ui_->run();
  }

  void launch() {
    application_.applicationDidFinishLaunching();
    runtime_.power().refreshBattery();
  }

  /// Releases everything that others would notice, then ends the loops.
  void stop() {
    if (std::exchange(isEnding_, true)) return;
    terminal_.stopFollowing();
    application_.applicationWillTerminate();
    shutdownDeadline_ = mainQueue_->asyncAfter(kShutdownTimeout, [] {
      complain("Something in the background does not end; leaving it behind.");
      std::_Exit(static_cast<int>(ExitCode::done));
    });
    // The server ends on its own queue; behind that, work in the background may still wait for the main
    // queue, so this loop runs on until the other ones have ended.
    services_.networkQueue()->async([this, socket = std::shared_ptr(std::move(ipcSocket_))] {
      ending_ = std::thread([this] {
        services_.stopThreads();
        ui_ ? ui_->stop() : mainLoop_->stop();
      });
    });
  }

  UserDefaults& defaults_;
  const std::shared_ptr<LogSink> log_ = std::make_shared<UnifiedLogSink>();
  const std::unique_ptr<DesktopUi> ui_;        // null when headless
  const std::shared_ptr<EventLoop> mainLoop_;  // null with windows
  const std::shared_ptr<SerialQueue> mainQueue_;
  Services services_;
  CompanionTerminal terminal_;
  TevantoMacRuntime runtime_;
  MacAppDelegate application_;
  IpcRequestHandler ipc_;
  std::unique_ptr<IpcServer> ipcSocket_;
  bool isEnding_ = false;
  Timer shutdownDeadline_;
  std::thread ending_;
};

}  // namespace

ExitCode runCompanion(const CompanionOptions& options, UserDefaults& defaults,
                      const std::filesystem::path& runtimeFolder, std::unique_ptr<DesktopUi> ui) {
  return Companion(options, defaults, std::move(ui)).run(runtimeFolder);
}

}  // namespace tevanto
