#pragma once

#include <memory>

#include "core/Log.h"
#include "p2p/ice/DeploymentSettings.h"

namespace tevanto {

class CloudDatabase;
class EventLoop;
class PeerConnectionFactory;
class UserDefaults;

/// Reads the deployment settings of this program and of its user.
DeploymentSettings macDeployment(const UserDefaults& defaults, const std::shared_ptr<LogSink>& log);

/// Makes the database of cloud records by the system's framework. Null where this build may not use it, or
/// where no container is named.
std::shared_ptr<CloudDatabase> macCloudDatabase(const DeploymentSettings& settings);

/// Makes the factory of peer connections. With `includeLoopback` it also offers the addresses of the loopback
/// interface, for peers on one computer.
std::shared_ptr<PeerConnectionFactory> macPeers(const std::shared_ptr<EventLoop>& loop, bool includeLoopback);

}  // namespace tevanto
