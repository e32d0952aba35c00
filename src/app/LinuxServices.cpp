#include "app/LinuxServices.h"

#include "app/MacSetupWindowPresenter.h"
#include "app/ScreenService.h"
#include "app/StartupPowerSources.h"
#include "control/MacInputController.h"
#include "control/MacLaunchAtLoginController.h"
#include "control/MacPowerManager.h"
#include "control/MacShortcutRunner.h"
#include "control/UserPreferences.h"
#include "core/UserDefaults.h"
#include "net/AsioTcpListener.h"
#include "platform/linux/AvahiServiceAdvertiser.h"
#include "platform/linux/CommandModifier.h"
#include "platform/linux/ComputerName.h"
#include "platform/linux/DesktopWorkspace.h"
#include "platform/linux/LinuxScriptHost.h"
#include "platform/linux/LogindSession.h"
#include "platform/linux/LogindSleepAssertions.h"
#include "platform/linux/PulseAudioOutput.h"
#include "platform/linux/SysfsPowerSources.h"
#include "platform/linux/UPowerSources.h"
#include "platform/linux/XServerLink.h"
#include "platform/linux/XTestInputEvents.h"
#include "platform/linux/XTestPermission.h"
#include "platform/linux/XdgAutostartLoginItem.h"
#include "remote/MacRemoteServer.h"

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

/// For a desktop whose own shortcuts are not known.
class NoUserPreferences final : public UserPreferences {
 public:
  std::optional<PreferenceValue> value(std::string_view, std::string_view) override { return std::nullopt; }
};

DesktopWorkspace::Overviews noOverviews() {
  return {[](const std::string&) { return false; }, [](const std::string&) { return false; }};
}

}  // namespace

struct LinuxServices::Parts {
  Parts(const CompanionOptions& companionOptions, UserDefaults& userDefaults,
        const std::shared_ptr<LogSink>& sink)
      : options(companionOptions),
        defaults(userDefaults),
        loginItemLog(sink, "login-item"),
        listeners(mainLoop, options.loopbackOnly ? ListenScope::loopback : ListenScope::everywhere),
        advertiser(makeAdvertiser(options)),
        xServer(std::make_shared<XServerLink>(std::string(), mainQueue, Logger(sink, "input"))),
        permission(xServer),
        events(XTestInputEvents::open(
            xServer, mainQueue, [this] { return commandModifierOf(defaults); }, Logger(sink, "input"))),
        workspace(DesktopFolders::fromEnvironment(), noOverviews(), Logger(sink, "applications")),
        scripts(audio, session),
        assertions(Logger(sink, "power")),
        powerSources(kernelPowerSources, upower) {}

  const CompanionOptions options;
  UserDefaults& defaults;
  const Logger loginItemLog;

  const std::shared_ptr<EventLoop> mainLoop = EventLoop::forCallingThread();
  const std::shared_ptr<EventLoop> backgroundLoop = EventLoop::background(kBackgroundThreads);
  const std::shared_ptr<SerialQueue> mainQueue = mainLoop->makeQueue("main");
  const std::shared_ptr<SerialQueue> networkQueue = mainLoop->makeQueue("tevanto.remote.server");
  const std::shared_ptr<SerialQueue> shortcutQueue = backgroundLoop->makeQueue("tevanto.shortcuts");
  const std::shared_ptr<SerialQueue> applicationQueue = backgroundLoop->makeQueue("tevanto.applications");

  AsioTcpListenerFactory listeners;
  std::unique_ptr<ServiceAdvertiser> advertiser;
  std::shared_ptr<XServerLink> xServer;
  XTestPermission permission;
  std::shared_ptr<XTestInputEvents> events;
  NoUserPreferences preferences;
  DesktopWorkspace workspace;
  PulseAudioOutput audio;
  LogindSession session;
  LinuxScriptHost scripts;
  LogindSleepAssertions assertions;
  SysfsPowerSources kernelPowerSources;
  UPowerSources upower;
  StartupPowerSources powerSources;
  XdgAutostartLoginItem loginItem;
  const std::optional<std::string> name = tevanto::computerName();

  std::shared_ptr<MacRemoteServer> makeServer() {
    const auto input = std::make_shared<MacInputController>(*events, preferences, workspace);
    const auto shortcuts =
        std::make_shared<MacShortcutRunner>(mainQueue, scripts, workspace, *events, permission);
    return MacRemoteServer::create({.queue = networkQueue,
                                    .mainQueue = mainQueue,
                                    .shortcutQueue = shortcutQueue,
                                    .backgroundQueue = applicationQueue,
                                    .listeners = listeners,
                                    .advertiser = *advertiser,
                                    .defaults = defaults,
                                    .computerName = name,
                                    .port = options.remotePort.value_or(MacRemoteServer::kDefaultPort)},
                                   {.input = input, .shortcuts = shortcuts, .permission = permission});
  }
};

LinuxServices::LinuxServices(const CompanionOptions& options, UserDefaults& defaults,
                             std::shared_ptr<LogSink> log)
    : parts_(std::make_unique<Parts>(options, defaults, log)) {}

LinuxServices::~LinuxServices() = default;

EventLoop& LinuxServices::mainLoop() { return *parts_->mainLoop; }
EventLoop& LinuxServices::backgroundLoop() { return *parts_->backgroundLoop; }
std::shared_ptr<SerialQueue> LinuxServices::mainQueue() { return parts_->mainQueue; }
std::shared_ptr<SerialQueue> LinuxServices::networkQueue() { return parts_->networkQueue; }
std::optional<std::string> LinuxServices::computerName() const { return parts_->name; }
void LinuxServices::started() { parts_->powerSources.started(); }

TevantoMacRuntime::Factories LinuxServices::factories(ApplicationPresence& presence,
                                                      SetupWindowHost& windows) {
  auto& parts = *parts_;
  return {.server = [&parts] { return parts.makeServer(); },
          .screen = [] { return std::make_shared<UnavailableScreenService>(); },
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
