#include "screen/ScreenFrameDelivery.h"

#include <memory>
#include <utility>
#include <vector>

#include "screen/wire/ScreenStreamMessage.h"

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
    if (isKeyframe) lastKeyframeBytes_ = message->size();
    return route_.sendFrame(message, isKeyframe);
  };
  if (gate_.offer(isKeyframe, send) == ScreenFrameSendGate::Outcome::keyframeNeeded) {
    return Outcome::keyframeNeeded;
  }
  return isKeyframe ? Outcome::sentKeyframe : Outcome::sent;
}

bool ScreenFrameDelivery::isBlocked() const {
  return isAwaitingKeyframe() && route_.takesKeyframe && !route_.takesKeyframe(lastKeyframeBytes_);
}

}  // namespace tevanto
