#include "platform/linux/webrtc/LibwebrtcPeerFactory.h"

extern "C" __attribute__((visibility("default"))) tevanto::PeerConnectionFactory* tevantoMakePeers(
    const tevanto::PeerEngineOptions& options) {
  return new tevanto::LibwebrtcPeerFactory(options);
}
