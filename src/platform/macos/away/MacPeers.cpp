#include "platform/macos/away/MacPeers.h"

#include "core/queue/EventLoop.h"
#include "platform/macos/away/CloudKitDatabase.h"
#include "platform/macos/away/LKRTCPeerConnections.h"
#include "platform/macos/foundation/MainBundleInfo.h"

namespace tevanto {

DeploymentSettings macDeployment(const UserDefaults& defaults, const std::shared_ptr<LogSink>& log) {
  return {mainBundleInfo(Logger(log, "webrtc")), defaults};
}

std::shared_ptr<CloudDatabase> macCloudDatabase(const DeploymentSettings& settings) {
  const auto container = settings.cloudKitContainer();
  if (!container || !CloudKitDatabase::isAvailable()) return nullptr;
  return std::make_shared<CloudKitDatabase>(*container);
}

std::shared_ptr<PeerConnectionFactory> macPeers(const std::shared_ptr<EventLoop>& loop,
                                                bool includeLoopback) {
  return std::make_shared<LKRTCPeerConnections>(
      loop->makeQueue("tevanto.webrtc.callbacks"),
      LKRTCPeerConnections::Options{.includeLoopback = includeLoopback});
}

}  // namespace tevanto
