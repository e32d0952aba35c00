#include "platform/macos/values/network/PeerCallbacks.h"

namespace tevanto {

PeerCallbacks::PeerCallbacks(std::shared_ptr<SerialQueue> queue,
                             std::weak_ptr<PeerConnectionObserver> observer)
    : queue_(std::move(queue)), observer_(std::move(observer)) {}

void PeerCallbacks::iceConnectionStateChanged(IceConnectionState state) {
  iceConnectionState_ = state;
  notify([state](PeerConnectionObserver& observer) { observer.peerDidChangeIceConnectionState(state); });
}

void PeerCallbacks::iceGatheringStateChanged(IceGatheringState state) {
  notify([state](PeerConnectionObserver& observer) { observer.peerDidChangeIceGatheringState(state); });
}

void PeerCallbacks::candidateGenerated(IceCandidate candidate) {
  notify([candidate = std::move(candidate)](PeerConnectionObserver& observer) {
    observer.peerDidGenerateCandidate(candidate);
  });
}

void PeerCallbacks::channelOpened(std::shared_ptr<DataChannel> channel) {
  notify([channel = std::move(channel)](PeerConnectionObserver& observer) {
    observer.peerDidOpenDataChannel(channel);
  });
}

void PeerCallbacks::silence() {
  silenced_ = true;
  gate_.quiesce();
}

}  // namespace tevanto
