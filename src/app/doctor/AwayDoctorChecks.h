#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "app/doctor/Doctor.h"
#include "core/queue/EventLoop.h"
#include "p2p/ice/DeploymentSettings.h"

namespace tevanto {

class CloudDatabase;
class HttpClient;
class PeerConnectionFactory;
class WebSocketFactory;

/// What the checks of the away road try it with: what the companion itself uses.
struct AwayDoctorEnvironment {
  DeploymentSettings settings;
  std::shared_ptr<EventLoop> loop;
  std::shared_ptr<HttpClient> http;
  std::shared_ptr<WebSocketFactory> webSockets;
  std::function<Result<void>()> loadPeers;
  std::shared_ptr<PeerConnectionFactory> peers;
  std::shared_ptr<CloudDatabase> database;
};

/// Relay, TURN credentials, STUN, TURN and cloud, each with all the servers that are configured. What is not
/// configured is fine, and says how it is. Each ends within 13 seconds, besides what the look-up of a name
/// takes.
std::vector<DoctorCheck> awayDoctorChecks(AwayDoctorEnvironment environment);

}  // namespace tevanto
