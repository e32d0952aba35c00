#include "platform/macos/away/LKRTCPeerDelegate.h"

#include <utility>

#include "platform/macos/away/LKRTCChannel.h"
#include "platform/macos/foundation/FoundationText.h"
#include "platform/macos/values/network/PeerStates.h"

// The portable translation knows these numbers.
static_assert(LKRTCIceConnectionStateNew == 0 && LKRTCIceConnectionStateFailed == 4 &&
              LKRTCIceConnectionStateClosed == 6 && LKRTCIceConnectionStateCount == 7);
static_assert(LKRTCIceGatheringStateNew == 0 && LKRTCIceGatheringStateGathering == 1);

@implementation TevantoPeerDelegate {
  std::shared_ptr<tevanto::PeerCallbacks> _callbacks;
}

- (instancetype)initWithCallbacks:(std::shared_ptr<tevanto::PeerCallbacks>)callbacks {
  self = [super init];
  if (self) _callbacks = std::move(callbacks);
  return self;
}

- (void)peerConnection:(LKRTCPeerConnection*)peerConnection
    didChangeIceConnectionState:(LKRTCIceConnectionState)newState {
  _callbacks->iceConnectionStateChanged(tevanto::iceConnectionStateOf(newState));
}

- (void)peerConnection:(LKRTCPeerConnection*)peerConnection
    didChangeIceGatheringState:(LKRTCIceGatheringState)newState {
  _callbacks->iceGatheringStateChanged(tevanto::iceGatheringStateOf(newState));
}

- (void)peerConnection:(LKRTCPeerConnection*)peerConnection
    didGenerateIceCandidate:(LKRTCIceCandidate*)candidate {
  _callbacks->candidateGenerated({tevanto::utf8Text(candidate.sdp).value_or(""),
                                  tevanto::utf8Text(candidate.sdpMid).value_or(""), candidate.sdpMLineIndex});
}

// Its delegate is set before this returns, and so before anything comes on it.
- (void)peerConnection:(LKRTCPeerConnection*)peerConnection
    didOpenDataChannel:(LKRTCDataChannel*)dataChannel {
  _callbacks->channelOpened(tevanto::LKRTCChannel::adopt(dataChannel, _callbacks->queue()));
}

- (void)peerConnection:(LKRTCPeerConnection*)peerConnection
    didChangeSignalingState:(LKRTCSignalingState)stateChanged {
}

- (void)peerConnection:(LKRTCPeerConnection*)peerConnection didAddStream:(LKRTCMediaStream*)stream {
}

- (void)peerConnection:(LKRTCPeerConnection*)peerConnection didRemoveStream:(LKRTCMediaStream*)stream {
}

- (void)peerConnectionShouldNegotiate:(LKRTCPeerConnection*)peerConnection {
}

- (void)peerConnection:(LKRTCPeerConnection*)peerConnection
    didRemoveIceCandidates:(NSArray<LKRTCIceCandidate*>*)candidates {
}

@end
