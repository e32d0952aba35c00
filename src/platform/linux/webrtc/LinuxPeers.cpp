#include "platform/linux/webrtc/LinuxPeers.h"

#include <cstdlib>
#include <utility>

#include "platform/linux/process/MainBundle.h"

namespace tevanto {

DeploymentSettings linuxDeployment(const UserDefaults& defaults, const std::shared_ptr<LogSink>& log) {
  return {mainBundleInfo(Logger(log, "webrtc")), defaults};
}

std::shared_ptr<LoadedPeers> linuxPeers(const std::shared_ptr<LogSink>& log, bool includeLoopback,
                                        std::shared_ptr<SerialQueue> signalingQueue) {
  return std::make_shared<LoadedPeers>(
      PeerEngineOptions{.includeLoopback = includeLoopback,
                        .verbose = std::getenv("TEVANTO_ENGINE_LOG") != nullptr,
                        .log = Logger(log, "webrtc"),
                        .signalingQueue = std::move(signalingQueue)});
}

}  // namespace tevanto
