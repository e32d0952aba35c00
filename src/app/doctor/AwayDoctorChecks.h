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

/// AwayDoctorEnvironment holds the parts that the companion itself uses for connections outside the local
/// network; the checks use the same ones.
struct AwayDoctorEnvironment {
  DeploymentSettings settings;
  std::shared_ptr<EventLoop> loop;
  std::shared_ptr<HttpClient> http;
  std::shared_ptr<WebSocketFactory> webSockets;
  std::function<Result<void>()> loadPeers;
  std::shared_ptr<PeerConnectionFactory> peers;
  std::shared_ptr<CloudDatabase> database;
};

/// Returns the checks of relay, TURN credentials, STUN, TURN and cloud, each with all servers that are
/// configured. A check of a part that is not configured passes, and its text tells how to configure it. Each
/// ends within 13 seconds, plus the time that the look-up of a name takes.
std::vector<DoctorCheck> awayDoctorChecks(AwayDoctorEnvironment environment);

}  // namespace tevanto
