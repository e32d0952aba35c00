#include "platform/linux/LibwebrtcShortRoad.h"

#include <pc/sctp_transport.h>

#include <utility>

namespace tevanto {

void LibwebrtcShortRoad::open(rtc::scoped_refptr<webrtc::SctpTransportInterface> sctp,
                              webrtc::DataChannelInterface& channel) {
  if (sctp_ || !channel.ordered()) return;
  stream_ = channel.id();
  parameters_.type = webrtc::DataMessageType::kBinary;
  parameters_.ordered = true;
  parameters_.max_rtx_count = channel.maxRetransmitsOpt();
  parameters_.max_rtx_ms = channel.maxPacketLifeTime();
  sctp_ = std::move(sctp);
}

bool LibwebrtcShortRoad::enter() {
  // In this order: who leaves the short road for the signaling thread is counted there first.
  const bool mayOvertake = onWay_ == 0 && atSignaling_ > 0;
  if (!sctp_ || mayOvertake) {
    ++atSignaling_;
    return false;
  }
  ++onWay_;
  return true;
}

bool LibwebrtcShortRoad::send(const rtc::CopyOnWriteBuffer& message) {
  if (atSignaling_ == 0 && !isClosed_) {
    // The engine's own class behind the interface; empty once its peer is closed.
    auto* sctp = static_cast<webrtc::SctpTransport*>(sctp_.get())->internal();
    cricket::SendDataResult result = cricket::SDR_ERROR;
    if (sctp && sctp->SendData(stream_, parameters_, message, &result)) return true;
  }
  ++atSignaling_;
  return false;
}

}  // namespace tevanto
