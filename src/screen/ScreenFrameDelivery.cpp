#include "screen/ScreenFrameDelivery.h"

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

#include "screen/ScreenStreamMessage.h"

namespace tevanto {
namespace {

SharedBytes shared(std::vector<std::byte> message) {
  return std::make_shared<const std::vector<std::byte>>(std::move(message));
}

}  // namespace

void ScreenFrameDelivery::announce(std::span<const std::byte> sps, std::span<const std::byte> pps) const {
  route_.sendParameterSets(shared(parameterSetMessage(sps, pps)));
}

ScreenFrameDelivery::Outcome ScreenFrameDelivery::deliver(std::span<const std::byte> data, bool isKeyframe) {
  const auto send = [&] {
    const auto message = shared(videoFrameMessage(data, isKeyframe));
    const bool accepted = route_.sendFrame(message, isKeyframe);
    if (isKeyframe) note(accepted, message->size());
    return accepted;
  };
  if (gate_.offer(isKeyframe, send) == ScreenFrameSendGate::Outcome::keyframeNeeded) {
    return Outcome::keyframeNeeded;
  }
  return isKeyframe ? Outcome::sentKeyframe : Outcome::sent;
}

void ScreenFrameDelivery::note(bool keyframeWasAccepted, std::size_t bytes) {
  lastKeyframeBytes_ = bytes;
  refusedKeyframes_ = keyframeWasAccepted ? 0 : std::min(refusedKeyframes_ + 1, kRefusalsUntilBlocked);
}

bool ScreenFrameDelivery::isBlocked() const {
  if (refusedKeyframes_ < kRefusalsUntilBlocked || !isAwaitingKeyframe()) return false;
  return route_.takesKeyframe && !route_.takesKeyframe(lastKeyframeBytes_);
}

}  // namespace tevanto
