#include "app/macos/Services.h"

#include <utility>

#include "app/runtime/CompanionServices.h"
#include "core/settings/UserDefaults.h"
#include "net/discovery/NoAdvertiser.h"
#include "net/tcp/AsioTcpListenerFactory.h"
#include "p2p/cloud/CloudDatabase.h"
#include "p2p/transport/DeployedTransports.h"
#include "platform/macos/away/MacPeers.h"
#include "platform/macos/control/AppKitWorkspace.h"
#include "platform/macos/control/AppleScriptHost.h"
#include "platform/macos/control/AxAccessibilityPermission.h"
#include "platform/macos/control/CoreGraphicsInputEvents.h"
#include "platform/macos/control/IoKitPowerSources.h"
#include "platform/macos/control/IoKitSleepAssertions.h"
#include "platform/macos/control/SmAppServiceLoginItem.h"
#include "platform/macos/foundation/CfUserPreferences.h"
#include "platform/macos/foundation/MacComputerName.h"
#include "platform/macos/network/AnyInterfaceSockets.h"
#include "platform/macos/network/BonjourServiceAdvertiser.h"
#include "platform/macos/screen/CoreGraphicsScreenPermission.h"
#include "platform/macos/screen/ScreenCaptureKitSource.h"
#include "platform/macos/screen/VideoToolboxEncoder.h"

namespace tevanto {
namespace {

std::unique_ptr<ServiceAdvertiser> makeAdvertiser(const CompanionOptions& options) {
  if (options.noDiscovery) return std::make_unique<NoAdvertiser>();
  return std::make_unique<BonjourServiceAdvertiser>();
}

}  // namespace

struct Services::Core {
  Core(const CompanionOptions& companionOptions, UserDefaults& userDefaults,
       const std::shared_ptr<LogSink>& logSink, std::shared_ptr<SerialQueue> mainQueue)
      : options(companionOptions),
        defaults(userDefaults),
        sink(logSink),
        queues(loops, std::move(mainQueue)),
        listeners(loops.network, options.loopbackOnly ? ListenScope::loopback : ListenScope::everywhere,
                  receiveOnAnyInterface),
        advertiser(makeAdvertiser(options)),
        scripts(queues.main),
        services(queues, system(), {name, options.remotePort, options.screenPort}, defaults, sink) {}

  const CompanionOptions options;
  UserDefaults& defaults;
  const std::shared_ptr<LogSink> sink;
  const CompanionServices::Loops loops{.network = EventLoop::background(1)};
  const CompanionServices::Queues queues;
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
  CompanionServices services;

  CompanionServices::System system() {
    return {.pointerEvents = events,
            .keyEvents = events,
            .preferences = preferences,
            .workspace = workspace,
            .scripts = scripts,
            .accessibility = permission,
            .sleepAssertions = assertions,
            .powerSources = powerSources,
            .loginItem = loginItem,
            .displays = displays,
            .encoders = encoders,
            .screenPermission = screenPermission,
            .listeners = listeners,
            .advertiser = *advertiser,
            // The user is asked on the main queue: the settings are shown from there.
            .displayQueue = queues.main,
            .usedEncoder = [this] { return encoders.encoderName(); },
            .makeTransports = [this] { return makeTransports(); }};
  }

  std::unique_ptr<DeployedTransports> makeTransports() const {
    const auto settings = macDeployment(defaults, sink);
    auto database = macCloudDatabase(settings);
    if (!DeployedTransports::canMeet(settings) && !database) return nullptr;
    return std::make_unique<DeployedTransports>(
        DeployedTransports::Environment{
            .loop = loops.network, .mainQueue = queues.main, .defaults = defaults, .log = sink},
        DeployedTransports::Platform{.settings = settings,
                                     .peers = macPeers(loops.network, options.loopbackOnly),
                                     .database = std::move(database)});
  }
};

Services::Services(const CompanionOptions& options, UserDefaults& defaults, std::shared_ptr<LogSink> log,
                   std::shared_ptr<SerialQueue> mainQueue)
    : core_(std::make_unique<Core>(options, defaults, log, std::move(mainQueue))) {}

Services::~Services() = default;

EventLoop& Services::networkLoop() { return *core_->loops.network; }
std::shared_ptr<SerialQueue> Services::networkQueue() { return core_->queues.remote; }
std::optional<std::string> Services::computerName() const { return core_->name; }

void Services::stopThreads() {
  core_->loops.capture->stop();
  core_->loops.background->stop();
  core_->loops.network->stop();
}

TevantoMacRuntime::Factories Services::factories(ApplicationPresence& presence, SetupWindowHost& windows) {
  return core_->services.factories(presence, windows);
}

}  // namespace tevanto
