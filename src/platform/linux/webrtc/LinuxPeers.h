#pragma once

#include <memory>

#include "core/Log.h"
#include "p2p/ice/DeploymentSettings.h"
#include "platform/linux/webrtc/LoadedPeers.h"

namespace tevanto {

class UserDefaults;

/// The deployment settings of this program and its user.
DeploymentSettings linuxDeployment(const UserDefaults& defaults, const std::shared_ptr<LogSink>& log);

/// The peer connections of this program; their engine is loaded with the first of them. The engine's own log
/// joins the program's where the environment has `TEVANTO_ENGINE_LOG`. For the parameters see
/// `PeerEngineOptions`.
std::shared_ptr<LoadedPeers> linuxPeers(const std::shared_ptr<LogSink>& log, bool includeLoopback,
                                        std::shared_ptr<SerialQueue> signalingQueue = nullptr);

}  // namespace tevanto
