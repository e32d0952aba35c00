#include "platform/macos/away/LKRTCPeerConnections.h"

#include <mutex>
#include <utility>

#include "platform/macos/away/LKRTCFramework.h"
#include "platform/macos/away/LKRTCPeer.h"
#include "platform/macos/foundation/FoundationText.h"

namespace tevanto {
namespace {

NSString* textOrNil(const std::optional<std::string>& text) { return text ? foundationText(*text) : nil; }

LKRTCIceServer* iceServerOf(const RemoteIceServerConfig& server) {
  NSMutableArray<NSString*>* const urls = [NSMutableArray array];
  for (const auto& url : server.urlStrings) [urls addObject:foundationText(url)];
  if (!server.username && !server.credential) return [[LKRTCIceServer alloc] initWithURLStrings:urls];
  return [[LKRTCIceServer alloc] initWithURLStrings:urls
                                           username:textOrNil(server.username)
                                         credential:textOrNil(server.credential)];
}

LKRTCConfiguration* engineConfiguration(const PeerConfiguration& configuration) {
  NSMutableArray<LKRTCIceServer*>* const servers = [NSMutableArray array];
  for (const auto& server : configuration.iceServers) [servers addObject:iceServerOf(server)];
  LKRTCConfiguration* const made = [[LKRTCConfiguration alloc] init];
  made.iceServers = servers;
  made.continualGatheringPolicy = LKRTCContinualGatheringPolicyGatherContinually;
  made.sdpSemantics = LKRTCSdpSemanticsUnifiedPlan;
  return made;
}

}  // namespace

struct LKRTCPeerConnections::Core {
  explicit Core(const Options& wanted) : options(wanted) {}

  LKRTCPeerConnectionFactory* factory() {
    const std::lock_guard lock(mutex);
    if (!started) started = start();
    return started;
  }

  const Options options;

 private:
  LKRTCPeerConnectionFactory* start() const {
    LKRTCPeerConnectionFactory* const made = [[LKRTCPeerConnectionFactory alloc]
        initWithEncoderFactory:[[LKRTCDefaultVideoEncoderFactory alloc] init]
                decoderFactory:[[LKRTCDefaultVideoDecoderFactory alloc] init]];
    LKRTCPeerConnectionFactoryOptions* const factoryOptions =
        [[LKRTCPeerConnectionFactoryOptions alloc] init];
    factoryOptions.ignoreLoopbackNetworkAdapter = !options.includeLoopback;
    [made setOptions:factoryOptions];
    return made;
  }

  std::mutex mutex;
  LKRTCPeerConnectionFactory* started = nil;
};

LKRTCPeerConnections::LKRTCPeerConnections(std::shared_ptr<SerialQueue> callbackQueue, Options options)
    : callbackQueue_(std::move(callbackQueue)), core_(std::make_unique<Core>(options)) {}

LKRTCPeerConnections::~LKRTCPeerConnections() = default;

std::shared_ptr<PeerConnection> LKRTCPeerConnections::create(const PeerConfiguration& configuration,
                                                             std::weak_ptr<PeerConnectionObserver> observer) {
  @autoreleasepool {
    const auto callbacks = std::make_shared<PeerCallbacks>(callbackQueue_, std::move(observer));
    return LKRTCPeer::create(core_->factory(), engineConfiguration(configuration), callbacks);
  }
}

}  // namespace tevanto
