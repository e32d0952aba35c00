#include "platform/linux/LinuxTransports.h"

#include <utility>

#include "core/Uuid.h"
#include "net/BeastHttpClient.h"
#include "net/BeastWebSocketFactory.h"
#include "p2p/CloudKitSignalingClient.h"
#include "p2p/CloudKitWebDatabase.h"
#include "p2p/CloudPairingInvites.h"
#include "p2p/SignalingClient.h"
#include "platform/linux/LoadedPeers.h"
#include "platform/linux/MainBundle.h"

namespace tevanto {
namespace {

std::shared_ptr<IceServerSource> makeIceServers(const DeploymentSettings& settings, UserDefaults& defaults,
                                                std::shared_ptr<HttpClient> http, const Logger& log) {
  return std::make_shared<IceServerSource>(
      settings,
      RemoteIceServerPersistentCache(defaults, std::chrono::system_clock::now, settings.turnOrigin()),
      TurnCredentialService(std::move(http)), std::chrono::system_clock::now, log);
}

}  // namespace

DeploymentSettings LinuxTransports::deployment(const UserDefaults& defaults,
                                               const std::shared_ptr<LogSink>& log) {
  return {mainBundleInfo(Logger(log, "webrtc")), defaults};
}

bool LinuxTransports::canMeet(const DeploymentSettings& settings) {
  return !settings.relayURLs().empty() || settings.cloudKit();
}

LinuxTransports::LinuxTransports(const Environment& environment)
    : settings_(deployment(environment.defaults, environment.log)),
      http_(std::make_shared<BeastHttpClient>(environment.loop)),
      webSockets_(std::make_shared<BeastWebSocketFactory>(environment.loop)),
      peers_(std::make_shared<LoadedPeers>(PeerEngineOptions{.includeLoopback = environment.includeLoopback,
                                                             .verbose = environment.verbose,
                                                             .log = Logger(environment.log, "webrtc")})),
      iceServers_(makeIceServers(settings_, environment.defaults, http_, Logger(environment.log, "webrtc"))),
      database_(makeCloudDatabase(settings_,
                                  {.http = http_,
                                   .queue = environment.loop->makeQueue("tevanto.cloud"),
                                   .now = std::chrono::system_clock::now},
                                  Logger(environment.log, "cksignal"))),
      invites_(std::make_shared<CloudPairingInvites>(database_, std::chrono::system_clock::now,
                                                     Logger(environment.log, "cksignal"))) {
  const auto makeQueue = [loop = environment.loop](const std::string& label) {
    return loop->makeQueue(label);
  };
  const auto makeRelay = [settings = settings_, sockets = webSockets_, makeQueue, log = environment.log] {
    return SignalingClient::create(settings.relayURLs(), sockets, makeQueue(SignalingClient::kQueueLabel),
                                   log);
  };
  const auto makeCloud = [database = database_, mainQueue = environment.mainQueue, makeQueue,
                          spent = std::make_shared<SpentSessions>(),
                          log = environment.log]() -> std::shared_ptr<CloudSignaling> {
    return std::make_shared<CloudKitSignalingClient>(CloudKitSignalingClient::Environment{
        .database = database,
        .queue = makeQueue(std::string(CloudKitSignalingClient::kQueueLabel)),
        .mainQueue = mainQueue,
        .now = std::chrono::system_clock::now,
        .session = randomUuid(),
        .spent = spent,
        .log = Logger(log, std::string(CloudKitSignalingClient::kLogCategory))});
  };
  const auto remember = [&defaults = environment.defaults,
                         origin = settings_.turnOrigin()](const std::vector<RemoteIceServerConfig>& servers) {
    // A cache that cannot be written costs one request at the next start, no more.
    (void)RemoteIceServerPersistentCache(defaults, std::chrono::system_clock::now, origin).save(servers);
  };
  factory_ = std::make_shared<TransportFactory>(
      TransportFactory::Environment{.makeQueue = makeQueue,
                                    .mainQueue = environment.mainQueue,
                                    .peers = peers_,
                                    .makeRelay = makeRelay,
                                    .makeCloud = makeCloud,
                                    .iceServers = iceServers_,
                                    .rememberIceServers = remember,
                                    .log = Logger(environment.log, "webrtc")});
}

LinuxTransports::~LinuxTransports() = default;

}  // namespace tevanto
