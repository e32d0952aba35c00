#pragma once

#include <memory>
#include <optional>
#include <string>

#include "core/EventLoop.h"
#include "core/Log.h"
#include "core/SerialQueue.h"
#include "p2p/DeploymentSettings.h"
#include "p2p/TransportFactory.h"

namespace tevanto {

class CloudDatabase;
class CloudPairingInvites;
class HttpClient;
class UserDefaults;
class WebSocketFactory;

/// What the road away stands on in a program of this system, put together from what was deployed. Making it
/// connects to nobody; the engine of the peers starts with the first of them.
class MacTransports {
 public:
  struct Environment {
    std::shared_ptr<EventLoop> loop;  // of the sockets, and of the queues below the transports
    std::shared_ptr<SerialQueue> mainQueue;
    UserDefaults& defaults;  // outlives it
    std::shared_ptr<LogSink> log;
    /// Also offer the addresses of the loopback interface: for peers on one computer.
    bool includeLoopback = false;
  };
  explicit MacTransports(const Environment& environment);
  ~MacTransports();
  MacTransports(const MacTransports&) = delete;
  MacTransports& operator=(const MacTransports&) = delete;

  /// What was deployed, with this program and by its user.
  static DeploymentSettings deployment(const UserDefaults& defaults, const std::shared_ptr<LogSink>& log);
  /// Whether there is any place where peers could meet: a relay, or records in the cloud.
  static bool canMeet(const DeploymentSettings& settings);

  TransportFactory& factory() const { return *factory_; }

  const DeploymentSettings& settings() const { return settings_; }
  const std::shared_ptr<HttpClient>& http() const { return http_; }
  const std::shared_ptr<WebSocketFactory>& webSockets() const { return webSockets_; }
  const std::shared_ptr<PeerConnectionFactory>& peers() const { return peers_; }
  const std::shared_ptr<CloudDatabase>& database() const { return database_; }
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
