#include "screen/encode/PictureEncoderSession.h"

#include <utility>

#include "screen/encode/EncoderState.h"

namespace tevanto {
namespace {

EncodedSample sampleOf(const AccessUnit& unit, std::optional<double> quantizer) {
  EncodedSample sample;
  sample.attachments = EncodedSample::Attachments{!unit.isIdr};
  if (unit.isIdr && unit.sps) sample.sps = *unit.sps;
  if (unit.isIdr && unit.pps) sample.pps = *unit.pps;
  sample.data = unit.data;
  if (quantizer) sample.isFinest = *quantizer <= kFinestQuantizer;
  return sample;
}

}  // namespace

PictureEncoderSession::PictureEncoderSession(std::string encoder, std::int32_t width, std::int32_t height,
                                             Environment environment)
    : state_(std::make_shared<EncoderState>(std::move(encoder), width, height, std::move(environment))) {}

PictureEncoderSession::~PictureEncoderSession() { state_->invalidate(); }

Result<void> PictureEncoderSession::setProperty(EncoderProperty property, const EncoderPropertyValue& value) {
  return state_->set(property, value);
}

// The encoder needs the pictures' format, too, so that it is opened with the first one.
void PictureEncoderSession::prepareToEncodeFrames() { state_->prepare(); }

// Rates are kept by the clock, and nothing is held back: the picture's own time is of no use here.
void PictureEncoderSession::encodeFrame(std::shared_ptr<const PixelBuffer> picture,
                                        PresentationTime /*presentationTime*/,
                                        const EncodeFrameProperties& properties, OutputHandler output) {
  const auto state = state_;  // the handler may release this session
  if (!state->enter()) return;
  state->prepare();
  const auto encoded = state->encode(std::move(picture), properties.forceKeyFrame);
  if (!encoded) {
    output(EncodeStatus::failure, nullptr);
  } else if (!encoded.value()) {
    output(EncodeStatus::success, nullptr);
  } else {
    const auto sample = sampleOf(*encoded.value(), state->lastQuantizer());
    output(EncodeStatus::success, &sample);
  }
  state->leave();
}

void PictureEncoderSession::invalidate() { state_->invalidate(); }

}  // namespace tevanto
