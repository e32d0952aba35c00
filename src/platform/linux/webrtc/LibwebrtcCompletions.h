#pragma once

#include <api/jsep.h>
#include <api/set_local_description_observer_interface.h>
#include <api/set_remote_description_observer_interface.h>
#include <api/stats/rtc_stats_collector_callback.h>

#include <memory>
#include <string>

#include "p2p/peer/PeerConnection.h"
#include "platform/linux/webrtc/LibwebrtcPeerCore.h"

namespace tevanto {

// The engine's completion interfaces over our closures. Each reports through its peer's core, which reports
// nothing once the peer is closed. The closure goes with the engine's last reference.

rtc::scoped_refptr<webrtc::CreateSessionDescriptionObserver> completionOf(
    std::shared_ptr<LibwebrtcPeerCore> core, PeerConnection::DescriptionHandler done);
rtc::scoped_refptr<webrtc::SetLocalDescriptionObserverInterface> localCompletionOf(
    std::shared_ptr<LibwebrtcPeerCore> core, PeerConnection::DoneHandler done);
rtc::scoped_refptr<webrtc::SetRemoteDescriptionObserverInterface> remoteCompletionOf(
    std::shared_ptr<LibwebrtcPeerCore> core, PeerConnection::DoneHandler done);
rtc::scoped_refptr<webrtc::RTCStatsCollectorCallback> completionOf(std::shared_ptr<LibwebrtcPeerCore> core,
                                                                   PeerConnection::StatisticsHandler done);

}  // namespace tevanto
