#include "phone/mirror/MirrorStream.h"

#include "phone/mirror/ByteStream.h"
#include "screen/wire/ScreenStreamMessage.h"

namespace tevanto::phone {

void MirrorStream::onMessage(std::span<const std::byte> message, Time now) {
  const auto type = screenMessageType(message);
  if (type == ScreenMessageType::parameterSets) handleParameterSets(message.subspan(1));
  if (type == ScreenMessageType::videoFrame) handleFrame(message.subspan(1), now);
}

void MirrorStream::handleParameterSets(std::span<const std::byte> body) {
  const auto sets = decodeParameterSets(body);
  if (!sets || sets->sps.empty() || sets->pps.empty()) return;
  sps_.assign(sets->sps.begin(), sets->sps.end());
  pps_.assign(sets->pps.begin(), sets->pps.end());
}

void MirrorStream::handleFrame(std::span<const std::byte> body, Time now) {
  const auto frame = decodeVideoFrame(body);
  const bool canStart = frame && frame->isKeyframe && !sps_.empty() && !pps_.empty();
  if (!frame || (isWaiting_ && !canStart)) {
    reportDropped();
    return ask(now);
  }
  if (!assemble(frame->data, canStart)) return loseTrack(now);
  const auto picture = decoder_.decode(byteStream_);
  if (!picture) return loseTrack(now);
  if (picture.value()) {
    width_ = picture.value()->width;
    height_ = picture.value()->height;
  }
  heldBack_ = picture.value() ? 0 : heldBack_ + 1;
  if (heldBack_ >= kMostHeldBack) return loseTrack(now);
  if (canStart) {
    isWaiting_ = false;
    asked_.reset();
  }
  outlets_.onFrame({frame->isKeyframe, width_, height_, sps_, pps_, frame->data, byteStream_, now},
                   picture.value());
}

bool MirrorStream::assemble(std::span<const std::byte> data, bool isKeyframe) {
  byteStream_.clear();
  if (isKeyframe) {
    appendNalUnit(byteStream_, sps_);
    appendNalUnit(byteStream_, pps_);
  }
  return appendNalUnits(byteStream_, data);
}

void MirrorStream::reportDropped() { outlets_.onDropped(); }

void MirrorStream::loseTrack(Time now) {
  decoder_.flush();
  heldBack_ = 0;
  if (!isWaiting_) asked_.reset();  // a new loss is told at once
  isWaiting_ = true;
  reportDropped();
  ask(now);
}

void MirrorStream::ask(Time now) {
  if (asked_ && now - *asked_ < kTimeout) return;
  asked_ = now;
  outlets_.askForKeyFrame();
}

}  // namespace tevanto::phone
