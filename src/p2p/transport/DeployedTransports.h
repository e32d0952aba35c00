#pragma once

#include <memory>

#include "core/Log.h"
#include "core/queue/EventLoop.h"
#include "core/queue/SerialQueue.h"
#include "p2p/ice/DeploymentSettings.h"
#include "p2p/transport/TransportFactory.h"

namespace tevanto {

class CloudDatabase;
class CloudPairingInvites;
class HttpClient;
class UserDefaults;
class WebSocketFactory;

/// What the road away stands on in a program, put together from what was deployed and from what the system
/// brings. Making it connects to nobody.
class DeployedTransports {
 public:
  struct Environment {
    std::shared_ptr<EventLoop> loop;  // of the sockets, and of the queues below the transports
    std::shared_ptr<SerialQueue> mainQueue;
    UserDefaults& defaults;  // outlives it
    std::shared_ptr<LogSink> log;
  };
  /// What each system has of its own.
  struct Platform {
    DeploymentSettings settings;  // what was deployed, with this program and by its user
    std::shared_ptr<PeerConnectionFactory> peers;
    /// The cloud's records as the system itself reaches them; null: by the web service, where there is a key.
    std::shared_ptr<CloudDatabase> database = nullptr;
  };

  DeployedTransports(const Environment& environment, Platform platform);
  ~DeployedTransports();
  DeployedTransports(const DeployedTransports&) = delete;
  DeployedTransports& operator=(const DeployedTransports&) = delete;

  /// Whether there is any place where peers could meet that needs nothing of the system: a relay, or records
  /// in the cloud.
  static bool canMeet(const DeploymentSettings& settings);

  TransportFactory& factory() const { return *factory_; }
  const DeploymentSettings& settings() const { return settings_; }
  const std::shared_ptr<HttpClient>& http() const { return http_; }
  const std::shared_ptr<WebSocketFactory>& webSockets() const { return webSockets_; }
  const std::shared_ptr<PeerConnectionFactory>& peers() const { return peers_; }
  const std::shared_ptr<CloudDatabase>& database() const { return database_; }
  /// Null where there is no cloud to keep them.
  const std::shared_ptr<CloudPairingInvites>& invites() const { return invites_; }

 private:
  TransportFactory::Environment factoryEnvironment(const Environment& environment) const;

  const DeploymentSettings settings_;
  const std::shared_ptr<HttpClient> http_;
  const std::shared_ptr<WebSocketFactory> webSockets_;
  const std::shared_ptr<PeerConnectionFactory> peers_;
  const std::shared_ptr<IceServerSource> iceServers_;
  const std::shared_ptr<CloudDatabase> database_;
  const std::shared_ptr<CloudPairingInvites> invites_;
  const std::shared_ptr<TransportFactory> factory_;
};

}  // namespace tevanto
