#include "screen/encode/H264Encoder.h"

#include <limits>
#include <utility>

#include "core/Precondition.h"
#include "core/queue/QueueBound.h"

namespace tevanto {
namespace {

constexpr std::int64_t kKeyframeSeconds = 4;

std::int32_t side(std::int64_t pixels) {
  precondition(pixels >= std::numeric_limits<std::int32_t>::min() &&
                   pixels <= std::numeric_limits<std::int32_t>::max(),
               "a picture is larger than an encoder can take");
  return static_cast<std::int32_t>(pixels);
}

/// One and a half times the average, so that a key frame fits beside ordinary ones.
DataRateLimit dataRateLimit(std::int64_t bitRate) {
  return {bitRate < 16 ? 1 : bitRate / 8 * 3 / 2, std::chrono::seconds(1)};
}

bool isKeyframe(const EncodedSample& sample) {
  return !(sample.attachments && sample.attachments->notSync.value_or(false));
}

}  // namespace

H264Encoder::H264Encoder(EncoderSessionFactory& sessions, std::int64_t bitRate, std::int64_t fps)
    : sessions_(sessions), bitRate_(bitRate), fps_(fps) {}

H264Encoder::~H264Encoder() { invalidate(); }

void H264Encoder::setConfigHandler(ConfigHandler handler) {
  const std::lock_guard lock(callbackLock_);
  configHandler_.swap(handler);
}

void H264Encoder::setFrameHandler(FrameHandler handler) {
  const std::lock_guard lock(callbackLock_);
  frameHandler_.swap(handler);
}

void H264Encoder::encode(std::shared_ptr<const PixelBuffer> pixelBuffer, PresentationTime presentationTime,
                         std::int64_t width, std::int64_t height) {
  const auto session = sessionFor(width, height);
  if (!session) return;
  const EncodeFrameProperties properties{forceKeyframe_.readAndClear()};
  lastWasFinest_ = false;
  lastWasLeftOut_ = true;  // until it comes out
  session->encodeFrame(std::move(pixelBuffer), presentationTime, properties,
                       weakCall(weak_from_this(), &H264Encoder::handleEncoded));
}

std::shared_ptr<EncoderSession> H264Encoder::sessionFor(std::int64_t width, std::int64_t height) {
  std::shared_ptr<EncoderSession> session;
  {
    const std::lock_guard lock(sessionLock_);
    if (session_ && width_ == width && height_ == height) return session_;
    if (const auto old = std::exchange(session_, nullptr)) old->invalidate();
    session_ = makeSession(side(width), side(height));
    if (!session_) return nullptr;
    width_ = width;
    height_ = height;
    session = session_;
  }
  forceKeyframe_.set();
  return session;
}

std::shared_ptr<EncoderSession> H264Encoder::makeSession(std::int32_t width, std::int32_t height) {
  auto made = sessions_.create(width, height, VideoCodec::h264);
  if (!made) return nullptr;
  setProperties(*made.value());
  made.value()->prepareToEncodeFrames();
  return std::move(made).value();
}

// An encoder that lacks a property still encodes; it is used with what it has.
void H264Encoder::setProperties(EncoderSession& session) const {
  const std::pair<EncoderProperty, EncoderPropertyValue> properties[] = {
      {EncoderProperty::realTime, true},
      {EncoderProperty::profileLevel, EncoderProfileLevel::h264MainAutoLevel},
      {EncoderProperty::allowFrameReordering, false},
      {EncoderProperty::maxKeyFrameInterval, kKeyframeSeconds * fps_},
      {EncoderProperty::maxKeyFrameIntervalDuration, kKeyframeSeconds},
      {EncoderProperty::averageBitRate, bitRate_},
      {EncoderProperty::dataRateLimits, dataRateLimit(bitRate_)},
      {EncoderProperty::expectedFrameRate, fps_},
  };
  for (const auto& [property, value] : properties) static_cast<void>(session.setProperty(property, value));
}

void H264Encoder::handleEncoded(EncodeStatus status, const EncodedSample* sample) {
  if (status != EncodeStatus::success || !sample) return;
  lastWasFinest_ = sample->isFinest.value_or(false);
  const bool keyframe = isKeyframe(*sample);
  if (keyframe) announceParameterSets(*sample);
  if (!sample->data || sample->data->empty()) return;
  lastWasLeftOut_ = false;
  FrameHandler handler;
  {
    const std::lock_guard lock(callbackLock_);
    handler = frameHandler_;
  }
  if (handler) handler(*sample->data, keyframe);
}

void H264Encoder::announceParameterSets(const EncodedSample& sample) {
  if (!sample.sps || !sample.pps) return;
  ConfigHandler handler;
  {
    const std::lock_guard lock(callbackLock_);
    handler = configHandler_;
  }
  if (handler) handler(*sample.sps, *sample.pps);
}

void H264Encoder::invalidate() {
  std::shared_ptr<EncoderSession> session;
  {
    const std::lock_guard lock(sessionLock_);
    session.swap(session_);
  }
  if (session) session->invalidate();
}

}  // namespace tevanto
