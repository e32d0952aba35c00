#include "app/LinuxServices.h"

#include <malloc.h>

#include <chrono>
#include "app/LoadedEncoders.h"
#include "app/MacSetupWindowPresenter.h"
#include "app/StartupPowerSources.h"
#include "app/StartupScreenPermission.h"
#include "app/StreamScreenService.h"
#include "control/MacInputController.h"
#include "control/MacLaunchAtLoginController.h"
#include "control/MacPowerManager.h"
#include "control/MacShortcutRunner.h"
#include "core/UserDefaults.h"
#include "net/AsioTcpListener.h"
#include "p2p/CloudPairingInvites.h"
#include "platform/linux/AvahiServiceAdvertiser.h"
#include "platform/linux/CommandModifier.h"
#include "platform/linux/ComputerName.h"
#include "platform/linux/DesktopKeyStrokes.h"
#include "platform/linux/DesktopOverview.h"
#include "platform/linux/DesktopPreferences.h"
#include "platform/linux/DesktopWorkspace.h"
#include "platform/linux/LinuxScriptHost.h"
#include "platform/linux/LinuxTransports.h"
#include "platform/linux/LogindSession.h"
#include "platform/linux/LogindSleepAssertions.h"
#include "platform/linux/MprisMediaKeys.h"
#include "platform/linux/PulseAudioOutput.h"
#include "platform/linux/SysfsPowerSources.h"
#include "platform/linux/UPowerSources.h"
#include "platform/linux/X11DisplayCapture.h"
#include "platform/linux/X11ScreenCapturePermission.h"
#include "platform/linux/XServerLink.h"
#include "platform/linux/XTestInputEvents.h"
#include "platform/linux/XTestPermission.h"
#include "platform/linux/XdgAutostartLoginItem.h"
#include "remote/MacRemoteServer.h"
#include "screen/ScreenStreamServer.h"

namespace tevanto {
namespace {

constexpr unsigned kBackgroundThreads = 2;

/// For users who do not want to be seen on the network.
class NoAdvertiser final : public ServiceAdvertiser {
 public:
  Registration advertise(const ServiceDescription& service, StatusHandler onStatus) override {
    onStatus({AdvertisingState::unavailable, service.name, "switched off with --no-discovery"});
    return nullptr;
  }
};

std::unique_ptr<ServiceAdvertiser> makeAdvertiser(const CompanionOptions& options) {
  if (options.noDiscovery) return std::make_unique<NoAdvertiser>();
  return std::make_unique<AvahiServiceAdvertiser>();
}

/// Invites in the cloud, where one was deployed. Main queue.
class DeployedInvites final : public PairingInvites {
 public:
  explicit DeployedInvites(std::function<std::shared_ptr<PairingInvites>()> find) : find_(std::move(find)) {}

  void publishPairInvite(const std::string& code, const std::string& room,
                         const CloudPairingInvite& invite) override {
    if (const auto invites = find_()) invites->publishPairInvite(code, room, invite);
  }
  void deletePairInvite(const std::string& code) override {
    if (const auto invites = find_()) invites->deletePairInvite(code);
  }

 private:
  const std::function<std::shared_ptr<PairingInvites>()> find_;
};

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

struct LinuxServices::Parts {
  Parts(const CompanionOptions& companionOptions, UserDefaults& userDefaults,
        const std::shared_ptr<LogSink>& logSink, const std::shared_ptr<SerialQueue>& windowsQueue)
      : options(companionOptions),
        defaults(userDefaults),
        sink(logSink),
        loginItemLog(sink, "login-item"),
        networkLoop(windowsQueue ? EventLoop::background(1) : EventLoop::forCallingThread()),
        mainQueue(windowsQueue ? windowsQueue : networkLoop->makeQueue("main")),
        listeners(networkLoop, options.loopbackOnly ? ListenScope::loopback : ListenScope::everywhere),
        advertiser(makeAdvertiser(options)),
        xServer(std::make_shared<XServerLink>(std::string(), mainQueue, Logger(sink, "input"))),
        permission(xServer),
        xEvents(XTestInputEvents::open(
            xServer, mainQueue, [this] { return commandModifierOf(defaults); }, Logger(sink, "input"))),
        overview(DesktopOverview::ofSession(shortcutQueue, Logger(sink, "applications"))),
        events(std::make_shared<DesktopKeyStrokes>(xEvents, keyStrokes())),
        preferences(DesktopPreferences::sessionOfThisProcess()),
        workspace(DesktopFolders::fromEnvironment(), asLocations(overview), Logger(sink, "applications")),
        scripts(audio, session),
        assertions(Logger(sink, "power")),
        powerSources(kernelPowerSources, upower),
        screenPermission(displayPermission),
        encoders(Logger(sink, "screen")) {}

  const CompanionOptions options;
  UserDefaults& defaults;
  const std::shared_ptr<LogSink> sink;
  const Logger loginItemLog;

  const std::shared_ptr<EventLoop> networkLoop;
  const std::shared_ptr<EventLoop> backgroundLoop = EventLoop::background(kBackgroundThreads);
  const std::shared_ptr<EventLoop> captureLoop = EventLoop::background(1);
  const std::shared_ptr<SerialQueue> mainQueue;
  const std::shared_ptr<SerialQueue> networkQueue = networkLoop->makeQueue("tevanto.remote.server");
  const std::shared_ptr<SerialQueue> shortcutQueue = backgroundLoop->makeQueue("tevanto.shortcuts");
  const std::shared_ptr<SerialQueue> applicationQueue = backgroundLoop->makeQueue("tevanto.applications");
  const std::shared_ptr<SerialQueue> screenQueue = networkLoop->makeQueue("tevanto.screen.server");
  const std::shared_ptr<SerialQueue> captureQueue = captureLoop->makeQueue("tevanto.screen.capture");

  AsioTcpListenerFactory listeners;
  std::unique_ptr<ServiceAdvertiser> advertiser;
  std::shared_ptr<XServerLink> xServer;
  XTestPermission permission;
  std::shared_ptr<XTestInputEvents> xEvents;
  std::shared_ptr<DesktopOverview> overview;
  std::shared_ptr<DesktopKeyStrokes> events;
  DesktopPreferences preferences;
  DesktopWorkspace workspace;
  PulseAudioOutput audio;
  LogindSession session;
  MprisMediaKeys mediaKeys;
  LinuxScriptHost scripts;
  LogindSleepAssertions assertions;
  SysfsPowerSources kernelPowerSources;
  UPowerSources upower;
  StartupPowerSources powerSources;
  XdgAutostartLoginItem loginItem;
  X11DisplayCapture displays;
  X11ScreenCapturePermission displayPermission;
  StartupScreenPermission screenPermission;
  LoadedEncoders encoders;
  Timer trimming;
  Subscription sessionEnds;
  const std::optional<std::string> name = tevanto::computerName();
  std::optional<LinuxTransports> road;

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

  std::shared_ptr<MacRemoteServer> makeServer() {
    const auto input = std::make_shared<MacInputController>(*events, preferences, workspace);
    const auto shortcuts =
        std::make_shared<MacShortcutRunner>(mainQueue, scripts, workspace, *events, permission);
    auto server =
        MacRemoteServer::create({.queue = networkQueue,
                                 .mainQueue = mainQueue,
                                 .shortcutQueue = shortcutQueue,
                                 .backgroundQueue = applicationQueue,
                                 .listeners = listeners,
                                 .advertiser = *advertiser,
                                 .defaults = defaults,
                                 .computerName = name,
                                 .port = options.remotePort.value_or(MacRemoteServer::kDefaultPort)},
                                {.input = input, .shortcuts = shortcuts, .permission = permission});
    server->setAwayRoad({.makeAnswerer = [this](const std::string& room) { return makeAnswerer(room); },
                         .invites = std::make_shared<DeployedInvites>([this] {
                           auto* const way = transports();
                           return way ? way->invites() : nullptr;
                         })});
    return server;
  }

  /// The road away, when one was deployed. What it stands on takes time to make, so that this comes after the
  /// start. Main queue.
  LinuxTransports* transports() {
    const auto deployed = LinuxTransports::deployment(defaults, sink);
    if (!road && LinuxTransports::canMeet(deployed)) {
      road.emplace(LinuxTransports::Environment{.loop = networkLoop,
                                                .mainQueue = mainQueue,
                                                .defaults = defaults,
                                                .log = sink,
                                                .includeLoopback = options.loopbackOnly});
    }
    return road ? &*road : nullptr;
  }

  Answerer makeAnswerer(const std::string& room) {
    auto* const way = transports();
    if (!way) return {};
    auto made = way->factory().makeAnswerer(room);
    return {made.transport, made.transport, std::move(made.start), std::move(made.whenAged)};
  }

  // A session's pictures and its encoder leave some twenty megabytes behind that the allocator would keep for
  // the next one, which may never come.
  void giveMemoryBackAfterSessionsOf(ScreenStreamServer& server) {
    sessionEnds = server.isStreaming.observe([this](bool isStreaming) {
      trimming.cancel();
      if (!isStreaming) trimming = captureQueue->asyncAfter(kMemoryKept, [] { ::malloc_trim(0); });
    });
  }

  std::shared_ptr<ScreenService> makeScreen() {
    auto server = ScreenStreamServer::create(
        {.queue = screenQueue,
         .captureQueue = captureQueue,
         .mainQueue = mainQueue,
         .listeners = listeners,
         .advertiser = *advertiser,
         .defaults = defaults,
         .computerName = name,
         .port = options.screenPort.value_or(ScreenStreamServer::kDefaultPort)},
        {.displays = displays, .encoders = encoders, .permission = screenPermission});
    giveMemoryBackAfterSessionsOf(*server);
    return std::make_shared<StreamScreenService>(std::move(server), shortcutQueue,
                                                 [this] { return encoders.usedEncoder(); });
  }
};

LinuxServices::LinuxServices(const CompanionOptions& options, UserDefaults& defaults,
                             const std::shared_ptr<LogSink>& log,
                             const std::shared_ptr<SerialQueue>& windowsQueue)
    : parts_(std::make_unique<Parts>(options, defaults, log, windowsQueue)) {}

LinuxServices::~LinuxServices() = default;

EventLoop& LinuxServices::networkLoop() { return *parts_->networkLoop; }
void LinuxServices::endBackgroundWork() {
  parts_->captureLoop->stop();
  parts_->backgroundLoop->stop();
}
std::shared_ptr<SerialQueue> LinuxServices::mainQueue() { return parts_->mainQueue; }
std::shared_ptr<SerialQueue> LinuxServices::networkQueue() { return parts_->networkQueue; }
std::optional<std::string> LinuxServices::computerName() const { return parts_->name; }
bool LinuxServices::hasRoad() const { return parts_->road.has_value(); }
void LinuxServices::started() {
  parts_->powerSources.started();
  parts_->screenPermission.started();
}

TevantoMacRuntime::Factories LinuxServices::factories(ApplicationPresence& presence,
                                                      SetupWindowHost& windows) {
  auto& parts = *parts_;
  return {.server = [&parts] { return parts.makeServer(); },
          .screen = [&parts] { return parts.makeScreen(); },
          .power =
              [&parts] {
                return std::make_shared<MacPowerManager>(parts.mainQueue, parts.assertions,
                                                         parts.powerSources);
              },
          .launchAtLogin =
              [&parts] {
                return std::make_shared<MacLaunchAtLoginController>(parts.mainQueue, parts.loginItem,
                                                                    parts.defaults, parts.loginItemLog);
              },
          .setupWindow = [&presence,
                          &windows] { return std::make_shared<MacSetupWindowPresenter>(presence, windows); }};
}

}  // namespace tevanto
