#pragma once

#include <memory>

#include "core/Log.h"
#include "p2p/ice/DeploymentSettings.h"
#include "platform/linux/webrtc/LoadedPeers.h"

namespace tevanto {

class UserDefaults;

/// What was deployed, with this program and by its user.
DeploymentSettings linuxDeployment(const UserDefaults& defaults, const std::shared_ptr<LogSink>& log);

/// The peer connections of this program; their engine is loaded with the first of them. `includeLoopback`:
/// also offer the addresses of the loopback interface, for peers on one computer. What the engine says of
/// itself goes to the log where the environment has `TEVANTO_ENGINE_LOG`.
/// `signalingQueue`: see `PeerEngineOptions`.
std::shared_ptr<LoadedPeers> linuxPeers(const std::shared_ptr<LogSink>& log, bool includeLoopback,
                                        std::shared_ptr<SerialQueue> signalingQueue = nullptr);

}  // namespace tevanto
