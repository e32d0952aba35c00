#include "p2p/transport/DeployedTransports.h"

#include <chrono>
#include <string>
#include <utility>
#include <vector>

#include "core/text/Uuid.h"
#include "net/web/BeastHttpClient.h"
#include "net/web/BeastWebSocketFactory.h"
#include "p2p/cloud/CloudKitSignalingClient.h"
#include "p2p/cloud/CloudKitWebDatabase.h"
#include "p2p/cloud/CloudPairingInvites.h"
#include "p2p/signaling/SignalingClient.h"

namespace tevanto {
namespace {

using Clock = std::chrono::system_clock;

RemoteIceServerPersistentCache cacheOf(UserDefaults& defaults, const DeploymentSettings& settings) {
  return {defaults, Clock::now, settings.turnOrigin()};
}

std::shared_ptr<CloudDatabase> webDatabase(const DeploymentSettings& settings,
                                           std::shared_ptr<HttpClient> http,
                                           const DeployedTransports::Environment& environment) {
  return makeCloudDatabase(
      settings,
      {.http = std::move(http), .queue = environment.loop->makeQueue("tevanto.cloud"), .now = Clock::now},
      Logger(environment.log, std::string(CloudKitSignalingClient::kLogCategory)));
}

}  // namespace

bool DeployedTransports::canMeet(const DeploymentSettings& settings) {
  return !settings.relayURLs().empty() || settings.cloudKit();
}

DeployedTransports::DeployedTransports(const Environment& environment, Platform platform)
    : settings_(std::move(platform.settings)),
      http_(std::make_shared<BeastHttpClient>(environment.loop)),
      webSockets_(std::make_shared<BeastWebSocketFactory>(environment.loop)),
      peers_(std::move(platform.peers)),
      iceServers_(std::make_shared<IceServerSource>(settings_, cacheOf(environment.defaults, settings_),
                                                    TurnCredentialService(http_), Clock::now,
                                                    Logger(environment.log, "webrtc"))),
      database_(platform.database ? platform.database : webDatabase(settings_, http_, environment)),
      invites_(platform.database || settings_.cloudKit()
                   ? std::make_shared<CloudPairingInvites>(
                         database_, Clock::now,
                         Logger(environment.log, std::string(CloudKitSignalingClient::kLogCategory)))
                   : nullptr),
      factory_(std::make_shared<TransportFactory>(factoryEnvironment(environment))) {}

DeployedTransports::~DeployedTransports() = default;

TransportFactory::Environment DeployedTransports::factoryEnvironment(const Environment& environment) const {
  const auto makeQueue = [loop = environment.loop](const std::string& label) {
    return loop->makeQueue(label);
  };
  const auto makeRelay = [settings = settings_, sockets = webSockets_, makeQueue, log = environment.log] {
    return SignalingClient::create(settings.relayURLs(), sockets, makeQueue(SignalingClient::kQueueLabel),
                                   log);
  };
  const auto makeCloud = [database = database_, mainQueue = environment.mainQueue, makeQueue,
                          usedSessions = std::make_shared<UsedSessionIds>(),
                          log = environment.log]() -> std::shared_ptr<CloudSignaling> {
    return std::make_shared<CloudKitSignalingClient>(CloudKitSignalingClient::Environment{
        .database = database,
        .queue = makeQueue(std::string(CloudKitSignalingClient::kQueueLabel)),
        .mainQueue = mainQueue,
        .now = Clock::now,
        .session = randomUuid(),
        .usedSessions = usedSessions,
        .log = Logger(log, std::string(CloudKitSignalingClient::kLogCategory))});
  };
  const auto remember = [&defaults = environment.defaults,
                         settings = settings_](const std::vector<RemoteIceServerConfig>& servers) {
    // A cache that cannot be written costs one request at the next start, no more.
    (void)cacheOf(defaults, settings).remember(servers);
  };
  return {.makeQueue = makeQueue,
          .mainQueue = environment.mainQueue,
          .peers = peers_,
          .makeRelay = makeRelay,
          .makeCloud = makeCloud,
          .iceServers = iceServers_,
          .rememberIceServers = remember,
          .log = Logger(environment.log, "webrtc")};
}

}  // namespace tevanto
