#include "app/runtime/CompanionServices.h"

#include <utility>

#include "app/runtime/MacSetupWindowPresenter.h"
#include "app/runtime/StreamScreenService.h"
#include "control/MacInputController.h"
#include "control/MacLaunchAtLoginController.h"
#include "control/MacPowerManager.h"
#include "control/MacShortcutRunner.h"
#include "core/settings/UserDefaults.h"
#include "p2p/cloud/CloudPairingInvites.h"
#include "p2p/transport/DeployedTransports.h"
#include "remote/MacRemoteServer.h"
#include "remote/access/CompatibleAccess.h"
#include "screen/ScreenStreamServer.h"

namespace tevanto {
namespace {

/// Passes invites on to the cloud, where one was deployed. Main queue.
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

CompanionServices::Queues::Queues(const Loops& loops, std::shared_ptr<SerialQueue> mainQueue)
    : main(std::move(mainQueue)),
      remote(loops.network->makeQueue("tevanto.remote.server")),
      screen(loops.network->makeQueue("tevanto.screen.server")),
      capture(loops.capture->makeQueue("tevanto.screen.capture")),
      shortcuts(loops.background->makeQueue("tevanto.shortcuts")),
      applications(loops.background->makeQueue("tevanto.applications")) {}

CompanionServices::CompanionServices(const Queues& queues, System system, Options options,
                                     UserDefaults& defaults, std::shared_ptr<LogSink> log)
    : queues_(queues),
      system_(std::move(system)),
      options_(std::move(options)),
      defaults_(defaults),
      log_(std::move(log)),
      loginItemLog_(log_, "login-item"),
      access_(std::make_shared<CompatibleAccess>(defaults_)) {}

CompanionServices::~CompanionServices() = default;

TevantoMacRuntime::Factories CompanionServices::factories(ApplicationPresence& presence,
                                                          SetupWindowHost& windows) {
  return {.server = [this] { return makeServer(); },
          .screen = [this] { return makeScreen(); },
          .power =
              [this] {
                return std::make_shared<MacPowerManager>(queues_.main, system_.sleepAssertions,
                                                         system_.powerSources);
              },
          .launchAtLogin =
              [this] {
                return std::make_shared<MacLaunchAtLoginController>(queues_.main, system_.loginItem,
                                                                    defaults_, loginItemLog_);
              },
          .setupWindow = [&presence,
                          &windows] { return std::make_shared<MacSetupWindowPresenter>(presence, windows); }};
}

std::shared_ptr<MacRemoteServer> CompanionServices::makeServer() {
  const auto input = std::make_shared<MacInputController>(system_.pointerEvents, system_.keyEvents,
                                                          system_.preferences, system_.workspace);
  const auto shortcuts = std::make_shared<MacShortcutRunner>(queues_.main, system_.scripts, system_.workspace,
                                                             system_.keyEvents, system_.accessibility);
  auto server =
      MacRemoteServer::create({.queue = queues_.remote,
                               .mainQueue = queues_.main,
                               .shortcutQueue = queues_.shortcuts,
                               .backgroundQueue = queues_.applications,
                               .listeners = system_.listeners,
                               .advertiser = system_.advertiser,
                               .defaults = defaults_,
                               .access = access_,
                               .computerName = options_.computerName,
                               .port = options_.remotePort.value_or(MacRemoteServer::kDefaultPort),
                               .log = Logger(log_, "remote")},
                              {.input = input, .shortcuts = shortcuts, .permission = system_.accessibility});
  server->setAwayAccess({.makeAnswerer = [this](const std::string& room) { return makeAnswerer(room); },
                         .invites = std::make_shared<DeployedInvites>([this] {
                           auto* const deployed = transports();
                           return deployed ? deployed->invites() : nullptr;
                         })});
  return server;
}

std::shared_ptr<ScreenService> CompanionServices::makeScreen() {
  auto server = ScreenStreamServer::create(
      {.queue = queues_.screen,
       .captureQueue = queues_.capture,
       .mainQueue = queues_.main,
       .listeners = system_.listeners,
       .advertiser = system_.advertiser,
       .defaults = defaults_,
       .mayWatch = [access = access_](const std::string& token) { return access->allowsScreen(token); },
       .computerName = options_.computerName,
       .port = options_.screenPort.value_or(ScreenStreamServer::kDefaultPort)},
      {.displays = system_.displays, .encoders = system_.encoders, .permission = system_.screenPermission});
  if (system_.onStreaming) streaming_ = server->isStreaming.observe(system_.onStreaming);
  return std::make_shared<StreamScreenService>(std::move(server), system_.displayQueue, system_.usedEncoder);
}

DeployedTransports* CompanionServices::transports() {
  if (!transports_) transports_ = system_.makeTransports();
  return transports_.get();
}

Answerer CompanionServices::makeAnswerer(const std::string& room) {
  auto* const deployed = transports();
  if (!deployed) return {};
  auto made = deployed->factory().makeAnswerer(room);
  return {made.transport, made.transport, std::move(made.start), std::move(made.whenAged)};
}

}  // namespace tevanto
