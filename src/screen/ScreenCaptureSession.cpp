#include "screen/ScreenCaptureSession.h"

#include <utility>

#include "screen/ScreenStreamMessage.h"

namespace tevanto {
namespace {

SharedBytes shared(std::vector<std::byte> message) {
  return std::make_shared<const std::vector<std::byte>>(std::move(message));
}

}  // namespace

ScreenCaptureSession::ScreenCaptureSession(DisplayCapture& displays, EncoderSessionFactory& encoders,
                                           std::shared_ptr<SerialQueue> captureQueue,
                                           const StreamProfile& profile)
    : encoder_(std::make_shared<H264Encoder>(encoders, profile.bitRate, profile.fps)),
      capture_(std::make_shared<CaptureEngine>(displays, profile.longSide, profile.fps,
                                               std::move(captureQueue))) {}

ScreenCaptureSession::~ScreenCaptureSession() { stop(); }

void ScreenCaptureSession::start(ScreenRoute route, Handlers handlers) {
  wireEncoder(std::move(route), std::move(handlers.isCurrent));
  capture_->setPixelBufferHandler([weak = std::weak_ptr(encoder_)](const auto& pixelBuffer,
                                                                   PresentationTime time, std::int64_t width,
                                                                   std::int64_t height) {
    if (const auto encoder = weak.lock()) encoder->encode(pixelBuffer, time, width, height);
  });
  capture_->setErrorHandler(std::move(handlers.onError));
  capture_->setStartedHandler(std::move(handlers.onStarted));
  capture_->start();
}

void ScreenCaptureSession::wireEncoder(ScreenRoute route, std::function<bool()> isCurrent) {
  encoder_->setConfigHandler([isCurrent, send = std::move(route.sendParameterSets)](auto sps, auto pps) {
    if (isCurrent()) send(shared(parameterSetMessage(sps, pps)));
  });
  encoder_->setFrameHandler([isCurrent = std::move(isCurrent), send = std::move(route.sendFrame),
                             gate = std::make_shared<ScreenFrameSendGate>(), weak = std::weak_ptr(encoder_)](
                                std::span<const std::byte> data, bool isKeyframe) {
    if (!isCurrent()) return;
    const auto outcome = gate->offer(
        isKeyframe, [&] { return send(shared(videoFrameMessage(data, isKeyframe)), isKeyframe); });
    if (outcome != ScreenFrameSendGate::Outcome::keyframeNeeded) return;
    if (const auto encoder = weak.lock()) encoder->requestKeyframe();
  });
}

void ScreenCaptureSession::stop() {
  capture_->stop();
  encoder_->invalidate();
}

void ScreenCaptureSession::requestKeyframe() { encoder_->requestKeyframe(); }

void ScreenCaptureSession::requestRefresh() { capture_->requestRefresh(); }

}  // namespace tevanto
