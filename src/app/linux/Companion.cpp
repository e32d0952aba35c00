#include "app/linux/Companion.h"

#include <fcntl.h>
#include <unistd.h>

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
#include "app/linux/DisplayBackends.h"
#include "app/linux/Services.h"
#include "app/runtime/DesktopUi.h"
#include "app/runtime/LocalAddresses.h"
#include "app/runtime/MacAppDelegate.h"
#include "app/runtime/PublicLinks.h"
#include "app/runtime/ScreenService.h"
#include "app/runtime/TevantoMacRuntime.h"
#include "app/runtime/UiActions.h"
#include "control/MacPowerManager.h"
#include "core/Descriptor.h"
#include "core/settings/DeviceIdentity.h"
#include "core/settings/JsonUserDefaults.h"
#include "platform/linux/process/JournalLogSink.h"
#include "platform/linux/process/LoadedModule.h"
#include "platform/linux/process/RestartProcess.h"
#include "platform/linux/webrtc/LinuxPeers.h"
#include "remote/MacRemoteServer.h"

namespace tevanto {
namespace {

constexpr ModuleEntry<DesktopUi*()> kMakeDesktopUi{"ui", "tevantoMakeDesktopUi", Binding::onCall};

/// How long an answer may take through the control socket.
constexpr auto kAnswering = std::chrono::milliseconds(100);
/// How long work in the background may hold up the end of the process.
constexpr auto kShutdownTimeout = std::chrono::seconds(3);

void print(const std::string& text) {
  std::fputs(text.c_str(), stdout);
  std::fflush(stdout);
}

bool hasTerminal() { return Descriptor(::open("/dev/tty", O_RDONLY | O_NOCTTY | O_CLOEXEC)).get() >= 0; }

/// The windows and the tray icon, of a module that a headless companion never loads. Null, with the reason in
/// the log, where no display can be reached or the module is not installed. On the main thread.
std::unique_ptr<DesktopUi> loadDesktopUi(const Logger& log) {
  // First: Qt ends the process where it finds no display.
  if (!canReachDisplay()) {
    log.info("No display can be reached; there is no window");
    return nullptr;
  }
  auto ui = makeFromModule(kMakeDesktopUi);
  if (!ui) {
    log.info("There is no window: " + ui.error());
    return nullptr;
  }
  if (!ui.value())
    log.info("There is no window: Qt has no plugin for Wayland; it is in the package qt6-wayland");
  return std::move(ui).value();
}

class Companion {
 public:
  Companion(const CompanionOptions& options, JsonUserDefaults& defaults)
      : options_(options),
        defaults_(defaults),
        log_(makeSystemLogSink()),
        ui_(options.headless ? nullptr : loadDesktopUi(Logger(log_, "ui"))),
        services_(options, defaults, log_, ui_ ? ui_->mainQueue() : nullptr),
        terminal_({services_.mainQueue(), [this] { return ipc_.status(); }, print, phoneProgramForUser(),
                   TextStyle::forStandardOutput()}),
        runtime_(ui_ ? services_.factories(*ui_, *ui_) : services_.factories(terminal_, terminal_)),
        application_(ui_ ? static_cast<ApplicationPresence&>(*ui_) : terminal_, runtime_),
        ipc_({runtime_, application_, defaults, advertisedName(services_.computerName()),
              [here = options.loopbackOnly] { return here ? std::vector<std::string>() : localAddresses(); },
              [this] { defaults_.reload(); },
              [this](const std::string& token) {
                if (ui_) ui_->useActivationToken(token);
              },
              [this] {
                // Behind the answer.
                if (options_.lostDisplay && !giving_)
                  giving_ = services_.mainQueue()->asyncAfter(kAnswering, [this] { stop(); });
                return options_.lostDisplay;
              }}) {}

  ~Companion() {
    if (ending_.joinable()) ending_.join();
  }

  ExitCode run(const std::filesystem::path& runtimeFolder) {
    if (!ui_) terminal_.follow(runtime_);
    handleSignals();
    // On the main queue, as everything the services are told.
    services_.mainQueue()->async([this] { launch(); });
    auto server = IpcServer::listen(
        services_.networkQueue(), ipcSocketIn(runtimeFolder), {},
        [this](std::string_view line) { return ipc_.answer(line); }, services_.mainQueue());
    if (!server) return complain(server.error());
    ipcSocket_ = std::move(server).value();
    runLoops();
    if (services_.hasAwayAccess()) {
      // Its engine's threads may still be closing peers, and must not meet the libraries' cleanup at the
      // exit.
      std::fflush(nullptr);
      std::_Exit(static_cast<int>(ExitCode::done));
    }
    return ExitCode::done;
  }

 private:
  /// Runs until `stop`.
  void runLoops() {
    if (!ui_) return services_.networkLoop().run();
    auto operations = UiActions::of(runtime_);
    operations.quit = [this] { stop(); };
    ui_->present({.runtime = runtime_,
                  .defaults = defaults_,
                  .operations = std::move(operations),
                  .links = PublicLinks::of(linuxDeployment(defaults_, log_)),
                  .displayLost = [this] { goOnHeadless(); }});
    ui_->run();
    services_.networkLoop().stop();
  }

  /// The same program in the same process once more, without windows, on the same ports: phones find it
  /// again, and it waits for a display to come back as it would have without windows.
  void goOnHeadless() {
    std::vector<std::string> arguments{"tevanto",
                                       "--headless",
                                       "--lost-display",
                                       "--remote-port",
                                       std::to_string(runtime_.server().port.get()),
                                       "--screen-port",
                                       std::to_string(runtime_.screen().state().port)};
    if (options_.loopbackOnly) arguments.emplace_back("--loopback-only");
    if (options_.noDiscovery) arguments.emplace_back("--no-discovery");
    restartProcess(arguments);
  }

  void launch() {
    application_.applicationDidFinishLaunching();
    services_.started();
    // Nobody has looked at the permission yet, and a window shows it.
    if (ui_) runtime_.screen().state();
    // Behind the listener's own first steps on this loop.
    services_.networkQueue()->async(
        [this] { services_.mainQueue()->async([this] { runtime_.power().refreshBattery(); }); });
  }

  void handleSignals() {
    services_.networkLoop().onSignals({SIGINT, SIGTERM, SIGHUP}, [this](int signal) {
      services_.mainQueue()->async([this, signal] {
        // The signal asks to read the settings again, unless it reports that the terminal was closed.
        const bool wasClosed = startedInTerminal_ && !hasTerminal();
        if (signal == SIGHUP && !wasClosed) {
          defaults_.reload();
        } else {
          stop();
        }
      });
    });
  }

  /// Releases everything that others would notice, then ends both loops.
  void stop() {
    if (isEnding_) return;
    isEnding_ = true;
    terminal_.stopFollowing();
    services_.networkQueue()->async([socket = std::shared_ptr(std::move(ipcSocket_))] {});
    application_.applicationWillTerminate();
    // On a thread that nothing holds up.
    shutdownDeadline_ = shutdownLoop_->makeQueue("shutdown")->asyncAfter(kShutdownTimeout, [] {
      complain("Something in the background does not end; leaving it behind.");
      std::_Exit(static_cast<int>(ExitCode::done));
    });
    // The server ends on its own queue; behind that, work in the background may still wait for the main
    // queue, so this loop runs on until the other one has ended.
    services_.networkQueue()->async([this] {
      ending_ = std::thread([this] {
        services_.stopBackgroundWork();
        services_.releasePeers();
        if (ui_) {
          ui_->stop();
        } else {
          services_.networkLoop().stop();
        }
      });
    });
  }

  const CompanionOptions options_;
  JsonUserDefaults& defaults_;
  const std::shared_ptr<LogSink> log_;
  const std::unique_ptr<DesktopUi> ui_;  // null when headless
  Services services_;
  CompanionTerminal terminal_;
  TevantoMacRuntime runtime_;
  MacAppDelegate application_;
  IpcRequestHandler ipc_;
  std::unique_ptr<IpcServer> ipcSocket_;
  const bool startedInTerminal_ = hasTerminal();
  bool isEnding_ = false;
  Timer giving_;
  const std::shared_ptr<EventLoop> shutdownLoop_ = EventLoop::background(1);
  Timer shutdownDeadline_;
  std::thread ending_;
};

}  // namespace

ExitCode runCompanion(const CompanionOptions& options, JsonUserDefaults& defaults,
                      const std::filesystem::path& runtimeFolder) {
  return Companion(options, defaults).run(runtimeFolder);
}

}  // namespace tevanto
