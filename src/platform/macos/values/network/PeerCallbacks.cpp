#include "platform/macos/values/network/PeerCallbacks.h"

namespace tevanto {

PeerCallbacks::PeerCallbacks(std::shared_ptr<SerialQueue> queue,
                             std::weak_ptr<PeerConnectionObserver> observer)
    : queue_(std::move(queue)), observer_(std::move(observer)) {}

void PeerCallbacks::iceConnectionStateChanged(IceConnectionState state) {
  iceConnectionState_ = state;
  tell([state](PeerConnectionObserver& observer) { observer.peerDidChangeIceConnectionState(state); });
}

void PeerCallbacks::iceGatheringStateChanged(IceGatheringState state) {
  tell([state](PeerConnectionObserver& observer) { observer.peerDidChangeIceGatheringState(state); });
}

void PeerCallbacks::candidateGenerated(IceCandidate candidate) {
  tell([candidate = std::move(candidate)](PeerConnectionObserver& observer) {
    observer.peerDidGenerateCandidate(candidate);
  });
}

void PeerCallbacks::channelOpened(std::shared_ptr<DataChannel> channel) {
  tell([channel = std::move(channel)](PeerConnectionObserver& observer) {
    observer.peerDidOpenDataChannel(channel);
  });
}

void PeerCallbacks::shut() {
  shut_ = true;
  gate_.quiesce();
}

}  // namespace tevanto
