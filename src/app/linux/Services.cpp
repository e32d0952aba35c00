#include "app/linux/Services.h"

#include <malloc.h>

#include <chrono>

#include "app/linux/DisplayBackends.h"
#include "app/runtime/CompanionServices.h"
#include "app/runtime/StartupDeferrals.h"
#include "core/settings/UserDefaults.h"
#include "net/discovery/NoAdvertiser.h"
#include "net/tcp/AsioTcpListenerFactory.h"
#include "p2p/transport/DeployedTransports.h"
#include "platform/linux/audio/LinuxScriptHost.h"
#include "platform/linux/audio/LoadedAudio.h"
#include "platform/linux/avahi/AvahiServiceAdvertiser.h"
#include "platform/linux/desktop/applications/DesktopWorkspace.h"
#include "platform/linux/desktop/applications/XdgAutostartLoginItem.h"
#include "platform/linux/desktop/shortcuts/DesktopKeyStrokes.h"
#include "platform/linux/desktop/shortcuts/DesktopOverview.h"
#include "platform/linux/desktop/shortcuts/DesktopPreferences.h"
#include "platform/linux/input/CommandModifier.h"
#include "platform/linux/session/ComputerName.h"
#include "platform/linux/session/LogindSession.h"
#include "platform/linux/session/LogindSleepAssertions.h"
#include "platform/linux/session/MprisMediaKeys.h"
#include "platform/linux/session/SysfsPowerSources.h"
#include "platform/linux/session/UPowerSources.h"
#include "platform/linux/video/LoadedEncoders.h"
#include "platform/linux/webrtc/LinuxPeers.h"

namespace tevanto {
namespace {

std::unique_ptr<ServiceAdvertiser> makeAdvertiser(const CompanionOptions& options) {
  if (options.noDiscovery) return std::make_unique<NoAdvertiser>();
  return std::make_unique<AvahiServiceAdvertiser>();
}

DesktopWorkspace::Overviews asLocations(const std::shared_ptr<DesktopOverview>& overview) {
  return {[overview](const std::string& location) {
            const auto kind = DesktopOverview::kindAt(location);
            return kind && overview->available(*kind);
          },
          [overview](const std::string& location) {
            const auto kind = DesktopOverview::kindAt(location);
            if (kind) overview->open(*kind);
            return kind.has_value();
          }};
}

/// Within a second of a session's end nothing of it is held any more; another may follow at once.
constexpr auto kMemoryKept = std::chrono::milliseconds(500);

}  // namespace

struct Services::Core {
  Core(const CompanionOptions& companionOptions, UserDefaults& userDefaults,
       const std::shared_ptr<LogSink>& logSink, const std::shared_ptr<SerialQueue>& windowsQueue)
      : options(companionOptions),
        defaults(userDefaults),
        sink(logSink),
        loops{.network = windowsQueue ? EventLoop::background(1) : EventLoop::forCallingThread()},
        queues(loops, windowsQueue ? windowsQueue : loops.network->makeQueue("main")),
        listeners(loops.network, options.loopbackOnly ? ListenScope::loopback : ListenScope::everywhere),
        advertiser(makeAdvertiser(options)),
        display(makeDisplayBackend(
            {queues.main, [this] { return commandModifierOf(defaults); }, Logger(sink, "input")})),
        overview(DesktopOverview::ofSession(queues.shortcuts, Logger(sink, "applications"))),
        keyEvents(std::make_shared<DesktopKeyStrokes>(display->input(), keyStrokes())),
        preferences(DesktopPreferences::sessionOfThisProcess()),
        workspace(
            DesktopFolders::fromEnvironment(), asLocations(overview),
            [this](const WindowIdentity& application) { return display->raiseWindow(application); },
            Logger(sink, "applications")),
        scripts(audio, session),
        assertions(Logger(sink, "power")),
        deferrals(kernelPowerSources, upower, display->screenCapture()),
        encoders(Logger(sink, "screen")),
        services(queues, system(), {name, options.remotePort, options.screenPort}, defaults, sink) {}

  const CompanionOptions options;
  UserDefaults& defaults;
  const std::shared_ptr<LogSink> sink;
  const CompanionServices::Loops loops;
  const CompanionServices::Queues queues;

  AsioTcpListenerFactory listeners;
  std::unique_ptr<ServiceAdvertiser> advertiser;
  const std::unique_ptr<DisplayBackend> display;
  std::shared_ptr<DesktopOverview> overview;
  std::shared_ptr<DesktopKeyStrokes> keyEvents;
  DesktopPreferences preferences;
  DesktopWorkspace workspace;
  LoadedAudio audio;
  LogindSession session;
  MprisMediaKeys mediaKeys;
  LinuxScriptHost scripts;
  LogindSleepAssertions assertions;
  SysfsPowerSources kernelPowerSources;
  UPowerSources upower;
  XdgAutostartLoginItem loginItem;
  StartupDeferrals deferrals;
  LoadedEncoders encoders;
  std::shared_ptr<LoadedPeers> peers;  // null until a deployment needs them
  Timer trimming;
  const std::optional<std::string> name = tevanto::computerName();
  CompanionServices services;

  /// What key strokes do that are the desktop's rather than an application's. Main queue.
  DesktopKeyStrokes::Actions keyStrokes() {
    return {.lockSession = [this] { return session.lockSession().ok(); },
            .openOverview =
                [this] {
                  if (!overview->available(DesktopOverview::Kind::windows)) return false;
                  overview->open(DesktopOverview::Kind::windows);
                  return true;
                },
            .pressMediaKey = [this](MediaKey key) { return mediaKeys.press(key); }};
  }

  CompanionServices::System system() {
    return {.pointerEvents = *display->input(),
            .keyEvents = *keyEvents,
            .preferences = preferences,
            .workspace = workspace,
            .scripts = scripts,
            .accessibility = display->accessibility(),
            .sleepAssertions = assertions,
            .powerSources = deferrals.powerSources(),
            .loginItem = loginItem,
            .displays = display->capture(),
            .encoders = encoders,
            .screenPermission = deferrals.screenPermission(),
            .listeners = listeners,
            .advertiser = *advertiser,
            .displayQueue = queues.shortcuts,
            .usedEncoder = [this] { return encoders.usedEncoder(); },
            .makeTransports = [this] { return makeTransports(); },
            .onStreaming = [this](bool isStreaming) { trimHeap(!isStreaming); }};
  }

  std::unique_ptr<DeployedTransports> makeTransports() {
    const auto settings = linuxDeployment(defaults, sink);
    if (!DeployedTransports::canMeet(settings)) return nullptr;
    peers = linuxPeers(sink, options.loopbackOnly, loops.network->makeQueue("peer-signaling"));
    return std::make_unique<DeployedTransports>(
        DeployedTransports::Environment{
            .loop = loops.network, .mainQueue = queues.main, .defaults = defaults, .log = sink},
        DeployedTransports::Platform{.settings = settings, .peers = peers});
  }

  // A session's pictures and its encoder leave some twenty megabytes behind that the allocator would keep for
  // the next one, which may never come.
  void trimHeap(bool isAtRest) {
    trimming.cancel();
    if (isAtRest) trimming = queues.capture->asyncAfter(kMemoryKept, [] { ::malloc_trim(0); });
  }
};

Services::Services(const CompanionOptions& options, UserDefaults& defaults,
                   const std::shared_ptr<LogSink>& log, const std::shared_ptr<SerialQueue>& windowsQueue)
    : core_(std::make_unique<Core>(options, defaults, log, windowsQueue)) {}

Services::~Services() = default;

EventLoop& Services::networkLoop() { return *core_->loops.network; }
void Services::stopBackgroundWork() {
  core_->loops.capture->stop();
  core_->loops.background->stop();
}

void Services::releasePeers() {
  if (!core_->peers) return;
  // The server's stop goes on to the answerer on the main queue, which releases the transport there in a
  // turn of its own; that one closes its peer on a queue of the network's loop, which has one thread.
  core_->queues.main->sync([] {});
  core_->queues.main->sync([] {});
  core_->queues.remote->sync([] {});
  core_->peers->release();
}

std::shared_ptr<SerialQueue> Services::mainQueue() { return core_->queues.main; }
std::shared_ptr<SerialQueue> Services::networkQueue() { return core_->queues.remote; }
std::optional<std::string> Services::computerName() const { return core_->name; }
bool Services::hasAwayAccess() const { return core_->services.hasAwayAccess(); }
void Services::started() { core_->deferrals.started(); }

TevantoMacRuntime::Factories Services::factories(ApplicationPresence& presence, SetupWindowHost& windows) {
  return core_->services.factories(presence, windows);
}

}  // namespace tevanto
