#include "screen/encode/PictureEncoderSession.h"

#include <mutex>
#include <utility>

#include "screen/encode/DataRateAccount.h"
#include "screen/encode/IdrPictureId.h"
#include "screen/encode/KeyFrameRequests.h"
#include "screen/encode/KeyFrameSchedule.h"
#include "screen/encode/PictureEncoder.h"

namespace tevanto {
namespace {

/// The value as what the property takes, if it is that and `accepts` it.
template <class Value, class Accept>
Result<void> take(const EncoderPropertyValue& value, Accept accept) {
  const auto* typed = std::get_if<Value>(&value);
  if (!typed) return Failure{"the value is not of the property's type"};
  if (!accept(*typed)) return Failure{"the encoder cannot do this"};
  return {};
}

Result<void> takePositive(const EncoderPropertyValue& value, std::int64_t& setting) {
  return take<std::int64_t>(value, [&](std::int64_t number) {
    if (number > 0) setting = number;
    return number > 0;
  });
}

/// A quarter of the picture or more, as far as the capture says. A key frame costs no more than such a
/// change.
bool isLargeChange(const PixelBuffer& picture) {
  const auto& [number, previous, region] = picture.change;
  if (number == 0) return false;
  if (previous == 0) return true;
  return 4.0 * region.width * region.height >= 1.0 * picture.width() * picture.height();
}

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

struct PictureEncoderSession::State {
  State(std::string encoderName, std::int32_t width, std::int32_t height, Environment environment)
      : name(std::move(encoderName)), surroundings(std::move(environment)) {
    settings.width = width;
    settings.height = height;
  }

  Result<void> set(EncoderProperty property, const EncoderPropertyValue& value);
  bool enter();
  void leave();
  void invalidate();
  Result<std::optional<AccessUnit>> encode(std::shared_ptr<const PixelBuffer> picture, bool forceKeyFrame);

  std::mutex mutex;
  bool isBusy = false;  // a frame is under way, on whose thread the encoder is
  bool isInvalidated = false;
  std::unique_ptr<PictureEncoder> encoder;

  // Used by the one caller at a time.
  bool isPrepared = false;
  std::string name;
  const Environment surroundings;
  EncoderSettings settings;
  std::int64_t maxKeyFrameSeconds = 0;
  KeyFrameSchedule keyFrames;
  KeyFrameRequests requests;
  std::optional<DataRateAccount> account;
  std::uint64_t lastPicture = 0;
  std::optional<double> lastQuantizer;
  bool owesKeyFrame = false;  // asked for with a picture that was left out
  std::uint16_t idrPictures = 0;

 private:
  Result<void> open(PixelFormat format, PresentationTime time);
  Result<void> openNamed();
  bool isLeftOut(PresentationTime time) const;
  bool isBetterBegunAnew(const PixelBuffer& picture, PresentationTime time, bool isKeyFrame) const;
  Result<std::optional<AccessUnit>> encodeOpened(std::shared_ptr<const PixelBuffer> picture,
                                                 PresentationTime time, bool isKeyFrame);
  std::optional<Failure> refusal(const PixelBuffer& picture) const;
};

Result<void> PictureEncoderSession::State::set(EncoderProperty property, const EncoderPropertyValue& value) {
  switch (property) {
    case EncoderProperty::realTime:
      return take<bool>(value, [](bool realTime) { return realTime; });
    case EncoderProperty::profileLevel:
      return take<EncoderProfileLevel>(
          value, [](EncoderProfileLevel level) { return level == EncoderProfileLevel::h264MainAutoLevel; });
    case EncoderProperty::allowFrameReordering:
      return take<bool>(value, [](bool allowed) { return !allowed; });
    case EncoderProperty::maxKeyFrameInterval:
      return takePositive(value, settings.maxKeyFrameInterval);
    case EncoderProperty::maxKeyFrameIntervalDuration:
      return takePositive(value, maxKeyFrameSeconds);
    case EncoderProperty::averageBitRate:
      return takePositive(value, settings.bitRate);
    case EncoderProperty::expectedFrameRate:
      return takePositive(value, settings.fps);
    case EncoderProperty::dataRateLimits:
      return take<DataRateLimit>(value, [this](const DataRateLimit& limit) {
        const bool possible = limit.bytes > 0 && limit.window.count() > 0;
        if (possible) settings.dataRateLimit = limit;
        return possible;
      });
  }
  return Failure{"no such property"};
}

bool PictureEncoderSession::State::enter() {
  const std::lock_guard lock(mutex);
  if (isInvalidated) return false;
  isBusy = true;
  return true;
}

void PictureEncoderSession::State::leave() {
  std::unique_ptr<PictureEncoder> closed;
  const std::lock_guard lock(mutex);
  isBusy = false;
  if (isInvalidated) closed.swap(encoder);
}

void PictureEncoderSession::State::invalidate() {
  std::unique_ptr<PictureEncoder> closed;
  const std::lock_guard lock(mutex);
  isInvalidated = true;
  if (!isBusy) closed.swap(encoder);
}

std::optional<Failure> PictureEncoderSession::State::refusal(const PixelBuffer& picture) const {
  if (picture.width() != settings.width || picture.height() != settings.height) {
    return Failure{"the picture is not of the session's size"};
  }
  const bool known = picture.format() == PixelFormat::i420 || picture.format() == PixelFormat::nv12;
  if (!known || (encoder && picture.format() != settings.format)) {
    return Failure{"the picture's format cannot be encoded"};
  }
  return std::nullopt;
}

Result<void> PictureEncoderSession::State::openNamed() {
  auto opened = surroundings.open(name, settings);
  if (!opened) {
    surroundings.log.warning(name + " cannot encode " + std::to_string(settings.width) + "×" +
                             std::to_string(settings.height) + ": " + opened.error());
    return Failure{opened.error()};
  }
  encoder = std::move(opened).value();
  if (surroundings.onOpened) surroundings.onOpened(name);
  keyFrames = KeyFrameSchedule(settings.maxKeyFrameInterval, std::chrono::seconds(maxKeyFrameSeconds));
  return {};
}

Result<void> PictureEncoderSession::State::open(PixelFormat format, PresentationTime time) {
  settings.format = format;
  if (!account) {
    const auto bucket = leakyBucket(settings);
    account = DataRateAccount(bucket.rate, bucket.size, settings.fps);
  }
  settings.left = account->left(time);
  auto opened = openNamed();
  if (!opened && name != kSoftwareEncoder) {
    name = kSoftwareEncoder;
    opened = openNamed();
  }
  if (opened) account->encoderBeganAnew(time);
  return opened;
}

// What follows a key frame that does not come would be of no use.
bool PictureEncoderSession::State::isLeftOut(PresentationTime time) const {
  if (account->encoderIsAhead(time)) return true;
  return owesKeyFrame && !keyFrames.isDue(time) && !requests.mayBeMet(time);
}

bool PictureEncoderSession::State::isBetterBegunAnew(const PixelBuffer& picture, PresentationTime time,
                                                     bool isKeyFrame) const {
  if (name != kSoftwareEncoder || !account->encoderIsBehind(time)) return false;
  if (isKeyFrame) return true;
  // Pictures that move, be it less often than expected, are better off with what they refer to.
  return account->isAfterPause(time) && picture.change.picture != lastPicture && isLargeChange(picture);
}

Result<std::optional<AccessUnit>> PictureEncoderSession::State::encode(
    std::shared_ptr<const PixelBuffer> picture, bool forceKeyFrame) {
  if (!picture) return Failure{"no picture"};
  if (auto failure = refusal(*picture)) return *failure;
  const auto time = surroundings.now();
  owesKeyFrame = owesKeyFrame || forceKeyFrame;
  if (encoder && isLeftOut(time)) return std::optional<AccessUnit>();
  const bool isKeyFrame = std::exchange(owesKeyFrame, false) || keyFrames.isDue(time);
  if (encoder && isBetterBegunAnew(*picture, time, isKeyFrame)) encoder.reset();
  if (!encoder) {
    if (auto opened = open(picture->format(), time); !opened) return Failure{opened.error()};
  }
  lastPicture = picture->change.picture;
  return encodeOpened(std::move(picture), time, isKeyFrame || keyFrames.isDue(time));
}

Result<std::optional<AccessUnit>> PictureEncoderSession::State::encodeOpened(
    std::shared_ptr<const PixelBuffer> picture, PresentationTime time, bool isKeyFrame) {
  auto encoded = encoder->encode(std::move(picture), isKeyFrame);
  if (!encoded) {
    // What an encoder that failed makes of the next picture is unknown; that one begins anew, in software.
    surroundings.log.warning(name + " failed: " + encoded.error());
    encoder.reset();
    name = kSoftwareEncoder;
  } else if (encoded.value()) {
    lastQuantizer = encoder->lastQuantizer();
    keyFrames.encoded(time, encoded.value()->isIdr);
    requests.encoded(time, encoded.value()->isIdr);
    if (encoded.value()->isIdr) setIdrPictureId(*encoded.value(), idrPictures++);
    account->encoded(time, encoded.value()->data.size());
  }
  return encoded;
}

PictureEncoderSession::PictureEncoderSession(std::string encoder, std::int32_t width, std::int32_t height,
                                             Environment environment)
    : state_(std::make_shared<State>(std::move(encoder), width, height, std::move(environment))) {}

PictureEncoderSession::~PictureEncoderSession() { state_->invalidate(); }

Result<void> PictureEncoderSession::setProperty(EncoderProperty property, const EncoderPropertyValue& value) {
  if (state_->isPrepared) return Failure{"properties are set before the session is prepared"};
  return state_->set(property, value);
}

// The encoder needs the pictures' format, too, so that it is opened with the first one.
void PictureEncoderSession::prepareToEncodeFrames() { state_->isPrepared = true; }

// Rates are kept by the clock, and nothing is held back: the picture's own time is of no use here.
void PictureEncoderSession::encodeFrame(std::shared_ptr<const PixelBuffer> picture,
                                        PresentationTime /*presentationTime*/,
                                        const EncodeFrameProperties& properties, OutputHandler output) {
  const auto state = state_;  // the handler may let go of this session
  if (!state->enter()) return;
  state->isPrepared = true;
  const auto encoded = state->encode(std::move(picture), properties.forceKeyFrame);
  if (!encoded) {
    output(EncodeStatus::failure, nullptr);
  } else if (!encoded.value()) {
    output(EncodeStatus::success, nullptr);
  } else {
    const auto sample = sampleOf(*encoded.value(), state->lastQuantizer);
    output(EncodeStatus::success, &sample);
  }
  state->leave();
}

void PictureEncoderSession::invalidate() { state_->invalidate(); }

}  // namespace tevanto
