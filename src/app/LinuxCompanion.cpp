#include "app/LinuxCompanion.h"

#include <fcntl.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "app/Commands.h"
#include "app/CompanionControl.h"
#include "app/CompanionTerminal.h"
#include "app/ControlSocketServer.h"
#include "app/LinuxServices.h"
#include "app/LocalAddresses.h"
#include "app/MacAppDelegate.h"
#include "app/RuntimeFolder.h"
#include "app/TevantoMacRuntime.h"
#include "control/MacPowerManager.h"
#include "core/Descriptor.h"
#include "core/DeviceIdentity.h"
#include "core/JsonUserDefaults.h"
#include "platform/linux/JournalLogSink.h"

namespace tevanto {
namespace {

/// How long work in the background may hold up the end of the process.
constexpr auto kEndingPatience = std::chrono::seconds(3);

void print(const std::string& text) {
  std::fputs(text.c_str(), stdout);
  std::fflush(stdout);
}

bool hasTerminal() { return Descriptor(::open("/dev/tty", O_RDONLY | O_NOCTTY | O_CLOEXEC)).get() >= 0; }

class LinuxCompanion {
 public:
  LinuxCompanion(const CompanionOptions& options, JsonUserDefaults& defaults)
      : defaults_(defaults),
        services_(options, defaults, makeSystemLogSink()),
        terminal_({services_.mainQueue(), [this] { return control_.status(); }, print, phoneProgramForUser(),
                   TextStyle::forStandardOutput()}),
        runtime_(services_.factories(terminal_, terminal_)),
        application_(terminal_, runtime_),
        control_(
            {runtime_, application_, defaults, advertisedName(services_.computerName()),
             [here = options.loopbackOnly] { return here ? std::vector<std::string>() : localAddresses(); },
             [this] { defaults_.reload(); }}) {}

  ~LinuxCompanion() {
    if (ending_.joinable()) ending_.join();
  }

  ExitCode run(const std::filesystem::path& runtimeFolder) {
    terminal_.follow(runtime_);
    handleSignals();
    // On the main queue, as everything the services are told.
    services_.mainQueue()->async([this] { launch(); });
    auto server =
        ControlSocketServer::listen(services_.mainQueue(), controlSocketIn(runtimeFolder), {},
                                    [this](std::string_view line) { return control_.answer(line); });
    if (!server) return complain(server.error());
    controlSocket_ = std::move(server).value();
    services_.mainLoop().run();
    if (services_.hasRoad()) {
      // Its engine's threads may still be closing peers, and must not meet the libraries' cleanup at the
      // exit.
      std::fflush(nullptr);
      std::_Exit(static_cast<int>(ExitCode::done));
    }
    return ExitCode::done;
  }

 private:
  void launch() {
    application_.applicationDidFinishLaunching();
    services_.started();
    // Behind the listener's own first steps on this loop.
    services_.networkQueue()->async(
        [this] { services_.mainQueue()->async([this] { runtime_.power().refreshBattery(); }); });
  }

  void handleSignals() {
    services_.mainLoop().onSignals({SIGINT, SIGTERM, SIGHUP}, [this](int signal) {
      services_.mainQueue()->async([this, signal] {
        // Somebody's wish to read the settings again, unless it says that the terminal was closed.
        const bool wasClosed = startedInTerminal_ && !hasTerminal();
        if (signal == SIGHUP && !wasClosed) {
          defaults_.reload();
        } else {
          end();
        }
      });
    });
  }

  /// Lets go of everything that others would notice, then ends both loops.
  void end() {
    if (isEnding_) return;
    isEnding_ = true;
    terminal_.stopFollowing();
    controlSocket_.reset();
    application_.applicationWillTerminate();
    impatience_ = services_.mainQueue()->asyncAfter(kEndingPatience, [] {
      complain("Something in the background does not end; leaving it behind.");
      std::_Exit(static_cast<int>(ExitCode::done));
    });
    // The server ends on its own queue; behind that, work in the background may still wait for the main
    // queue, so this loop runs on until the other one has ended.
    services_.networkQueue()->async([this] {
      ending_ = std::thread([this] {
        services_.endBackgroundWork();
        services_.mainLoop().stop();
      });
    });
  }

  JsonUserDefaults& defaults_;
  LinuxServices services_;
  CompanionTerminal terminal_;
  TevantoMacRuntime runtime_;
  MacAppDelegate application_;
  CompanionControl control_;
  std::unique_ptr<ControlSocketServer> controlSocket_;
  const bool startedInTerminal_ = hasTerminal();
  bool isEnding_ = false;
  Timer impatience_;
  std::thread ending_;
};

}  // namespace

ExitCode runLinuxCompanion(const CompanionOptions& options, JsonUserDefaults& defaults,
                           const std::filesystem::path& runtimeFolder) {
  return LinuxCompanion(options, defaults).run(runtimeFolder);
}

}  // namespace tevanto
