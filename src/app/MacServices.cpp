#include "app/MacServices.h"

#include <utility>

#include "app/MacSetupWindowPresenter.h"
#include "app/StreamScreenService.h"
#include "control/MacInputController.h"
#include "control/MacLaunchAtLoginController.h"
#include "control/MacPowerManager.h"
#include "control/MacShortcutRunner.h"
#include "core/UserDefaults.h"
#include "net/AsioTcpListener.h"
#include "p2p/CloudPairingInvites.h"
#include "platform/macos/AnyInterfaceSockets.h"
#include "platform/macos/AppKitWorkspace.h"
#include "platform/macos/AppleScriptHost.h"
#include "platform/macos/AxAccessibilityPermission.h"
#include "platform/macos/BonjourServiceAdvertiser.h"
#include "platform/macos/CfUserPreferences.h"
#include "platform/macos/CoreGraphicsInputEvents.h"
#include "platform/macos/CoreGraphicsScreenPermission.h"
#include "platform/macos/IoKitPowerSources.h"
#include "platform/macos/IoKitSleepAssertions.h"
#include "platform/macos/MacComputerName.h"
#include "platform/macos/MacTransports.h"
#include "platform/macos/ScreenCaptureKitSource.h"
#include "platform/macos/SmAppServiceLoginItem.h"
#include "platform/macos/VideoToolboxEncoder.h"
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
  return std::make_unique<BonjourServiceAdvertiser>();
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

}  // namespace

struct MacServices::Parts {
  Parts(const CompanionOptions& companionOptions, UserDefaults& userDefaults,
        const std::shared_ptr<LogSink>& logSink, std::shared_ptr<SerialQueue> queue)
      : options(companionOptions),
        defaults(userDefaults),
        sink(logSink),
        mainQueue(std::move(queue)),
        loginItemLog(sink, "login-item"),
        listeners(networkLoop, options.loopbackOnly ? ListenScope::loopback : ListenScope::everywhere,
                  receiveOnAnyInterface),
        advertiser(makeAdvertiser(options)),
        scripts(mainQueue) {}

  const CompanionOptions options;
  UserDefaults& defaults;
  const std::shared_ptr<LogSink> sink;
  const std::shared_ptr<SerialQueue> mainQueue;
  const std::shared_ptr<EventLoop> networkLoop = EventLoop::background(1);
  const std::shared_ptr<EventLoop> backgroundLoop = EventLoop::background(kBackgroundThreads);
  const std::shared_ptr<EventLoop> captureLoop = EventLoop::background(1);
  const std::shared_ptr<SerialQueue> networkQueue = networkLoop->makeQueue("tevanto.remote.server");
  const std::shared_ptr<SerialQueue> screenQueue = networkLoop->makeQueue("tevanto.screen.server");
  const std::shared_ptr<SerialQueue> captureQueue = captureLoop->makeQueue("tevanto.screen.capture");
  const std::shared_ptr<SerialQueue> shortcutQueue = backgroundLoop->makeQueue("tevanto.shortcuts");
  const std::shared_ptr<SerialQueue> applicationQueue = backgroundLoop->makeQueue("tevanto.applications");
  const Logger loginItemLog;
  AsioTcpListenerFactory listeners;
  const std::unique_ptr<ServiceAdvertiser> advertiser;
  AxAccessibilityPermission permission;
  CoreGraphicsInputEvents events;
  CfUserPreferences preferences;
  AppKitWorkspace workspace;
  AppleScriptHost scripts;
  IoKitSleepAssertions assertions;
  IoKitPowerSources powerSources;
  SmAppServiceLoginItem loginItem;
  ScreenCaptureKitSource displays;
  CoreGraphicsScreenPermission screenPermission;
  VideoToolboxEncoder encoders;
  const std::optional<std::string> name = macComputerName();
  std::optional<MacTransports> road;

  std::shared_ptr<MacRemoteServer> makeServer() {
    const auto input = std::make_shared<MacInputController>(events, preferences, workspace);
    const auto shortcuts =
        std::make_shared<MacShortcutRunner>(mainQueue, scripts, workspace, events, permission);
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

  /// The road away, when one was deployed. Main queue.
  MacTransports* transports() {
    if (!road && MacTransports::canMeet(MacTransports::deployment(defaults, sink))) {
      road.emplace(MacTransports::Environment{.loop = networkLoop,
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
    return {made.transport, made.transport, std::move(made.start)};
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
    // The user is asked on the main queue: the settings are shown from there.
    return std::make_shared<StreamScreenService>(std::move(server), mainQueue,
                                                 [this] { return encoders.encoderName(); });
  }
};

MacServices::MacServices(const CompanionOptions& options, UserDefaults& defaults,
                         std::shared_ptr<LogSink> log, std::shared_ptr<SerialQueue> mainQueue)
    : parts_(std::make_unique<Parts>(options, defaults, log, std::move(mainQueue))) {}

MacServices::~MacServices() = default;

EventLoop& MacServices::networkLoop() { return *parts_->networkLoop; }
std::shared_ptr<SerialQueue> MacServices::networkQueue() { return parts_->networkQueue; }
std::optional<std::string> MacServices::computerName() const { return parts_->name; }

void MacServices::endThreads() {
  parts_->captureLoop->stop();
  parts_->backgroundLoop->stop();
  parts_->networkLoop->stop();
}

TevantoMacRuntime::Factories MacServices::factories(ApplicationPresence& presence, SetupWindowHost& windows) {
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
