#include "screen/ScreenCaptureSession.h"

#include <utility>

#include "core/queue/QueueBound.h"
#include "screen/ScreenFrameDelivery.h"
#include "screen/encode/PictureRefinement.h"

namespace tevanto {

ScreenCaptureSession::ScreenCaptureSession(DisplayCapture& displays, EncoderSessionFactory& encoders,
                                           std::shared_ptr<SerialQueue> captureQueue,
                                           const StreamProfile& profile)
    : captureQueue_(std::move(captureQueue)),
      frameInterval_(std::chrono::nanoseconds(std::chrono::seconds(1)) / profile.fps),
      encoder_(std::make_shared<H264Encoder>(encoders, profile.bitRate, profile.fps)),
      capture_(std::make_shared<CaptureEngine>(displays, profile.longSide, profile.fps, captureQueue_)) {}

ScreenCaptureSession::~ScreenCaptureSession() { stop(); }

void ScreenCaptureSession::start(ScreenRoute route, Handlers handlers) {
  delivery_ = std::make_shared<ScreenFrameDelivery>(std::move(route));
  refinement_ = makeRefinement();
  wireEncoder(std::move(handlers.isCurrent));
  wireCapture();
  capture_->setErrorHandler(std::move(handlers.onError));
  capture_->setStartedHandler(std::move(handlers.onStarted));
  capture_->start();
}

std::shared_ptr<PictureRefinement> ScreenCaptureSession::makeRefinement() const {
  PictureRefinement::Steps steps;
  steps.again = weakCall(std::weak_ptr(capture_), &CaptureEngine::refresh);
  steps.isFinest = [weak = std::weak_ptr(encoder_)] {
    const auto encoder = weak.lock();
    return !encoder || encoder->lastWasFinest();
  };
  steps.isMissing = [delivery = delivery_, weak = std::weak_ptr(encoder_)] {
    const auto encoder = weak.lock();
    return delivery->isAwaitingKeyframe() || (encoder && encoder->lastWasLeftOut());
  };
  steps.isBlocked = [delivery = delivery_] { return delivery->isBlocked(); };
  return std::make_shared<PictureRefinement>(captureQueue_, frameInterval_, std::move(steps));
}

void ScreenCaptureSession::wireEncoder(std::function<bool()> isCurrent) {
  encoder_->setConfigHandler([isCurrent, delivery = delivery_](auto sps, auto pps) {
    if (isCurrent()) delivery->announce(sps, pps);
  });
  encoder_->setFrameHandler(
      [isCurrent = std::move(isCurrent), delivery = delivery_, refinement = std::weak_ptr(refinement_),
       weak = std::weak_ptr(encoder_)](std::span<const std::byte> data, bool isKeyframe) {
        if (!isCurrent()) return;
        const auto outcome = delivery->deliver(data, isKeyframe);
        if (outcome == ScreenFrameDelivery::Outcome::keyframeNeeded) {
          if (const auto encoder = weak.lock()) encoder->requestKeyframe();
        } else if (outcome == ScreenFrameDelivery::Outcome::sentKeyframe) {
          if (const auto alive = refinement.lock()) alive->keyframeWasSent();
        }
      });
}

void ScreenCaptureSession::wireCapture() {
  capture_->setPixelBufferHandler(
      [weak = std::weak_ptr(encoder_), refinement = std::weak_ptr(refinement_)](
          const auto& pixelBuffer, PresentationTime time, std::int64_t width, std::int64_t height) {
        if (const auto encoder = weak.lock()) encoder->encode(pixelBuffer, time, width, height);
        if (const auto alive = refinement.lock()) alive->onPicture(pixelBuffer.get());
      });
}

void ScreenCaptureSession::stop() {
  capture_->stop();
  encoder_->invalidate();
  refinement_.reset();
}

void ScreenCaptureSession::requestKeyframe() { encoder_->requestKeyframe(); }

void ScreenCaptureSession::requestRefresh() { capture_->requestRefresh(); }

}  // namespace tevanto
