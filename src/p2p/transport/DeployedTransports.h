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

/// DeployedTransports creates the parts of the away connection in a program, from the deployment settings and
/// from the parts of the system. Its construction opens no connection.
class DeployedTransports {
 public:
  /// Environment holds the parts of the program that the transports use.
  struct Environment {
    std::shared_ptr<EventLoop> loop;  // of the sockets, and of the queues below the transports
    std::shared_ptr<SerialQueue> mainQueue;
    UserDefaults& defaults;  // outlives it
    std::shared_ptr<LogSink> log;
  };
  /// Platform holds the parts that differ from system to system.
  struct Platform {
    DeploymentSettings settings;  // the deployment, by this program and by its user
    std::shared_ptr<PeerConnectionFactory> peers;
    /// The cloud's records as the system itself reaches them; null: by the web service, where there is a key.
    std::shared_ptr<CloudDatabase> database = nullptr;
  };

  DeployedTransports(const Environment& environment, Platform platform);
  ~DeployedTransports();
  DeployedTransports(const DeployedTransports&) = delete;
  DeployedTransports& operator=(const DeployedTransports&) = delete;

  /// True when peers could meet without a part of the system: at a relay, or by records in the cloud.
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
