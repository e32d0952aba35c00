#pragma once

#include <memory>

#include "core/Log.h"
#include "p2p/ice/DeploymentSettings.h"

namespace tevanto {

class CloudDatabase;
class EventLoop;
class PeerConnectionFactory;
class UserDefaults;

/// What was deployed, with this program and by its user.
DeploymentSettings macDeployment(const UserDefaults& defaults, const std::shared_ptr<LogSink>& log);

/// The cloud's records by the system's framework; null where this build may not use it, or no container is
/// named.
std::shared_ptr<CloudDatabase> macCloudDatabase(const DeploymentSettings& settings);

/// The peer connections of this program. `includeLoopback`: also offer the addresses of the loopback
/// interface, for peers on one computer.
std::shared_ptr<PeerConnectionFactory> macPeers(const std::shared_ptr<EventLoop>& loop, bool includeLoopback);

}  // namespace tevanto
