#include "screen/encode/EncoderState.h"

#include <utility>

#include "screen/encode/IdrPictureId.h"

namespace tevanto {
namespace {

/// The value as what the property takes, if it is that and `accepts` it.
template <class Value, class Accept>
Result<void> apply(const EncoderPropertyValue& value, Accept accept) {
  const auto* typed = std::get_if<Value>(&value);
  if (!typed) return Failure{"The value is not of the property's type."};
  if (!accept(*typed)) return Failure{"The encoder cannot do this."};
  return {};
}

Result<void> applyPositive(const EncoderPropertyValue& value, std::int64_t& setting) {
  return apply<std::int64_t>(value, [&](std::int64_t number) {
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

}  // namespace

EncoderState::EncoderState(std::string encoderName, std::int32_t width, std::int32_t height,
                           Environment environment)
    : name_(std::move(encoderName)), environment_(std::move(environment)) {
  settings_.width = width;
  settings_.height = height;
}

Result<void> EncoderState::set(EncoderProperty property, const EncoderPropertyValue& value) {
  if (isPrepared_) return Failure{"The encoder's properties are set before the session is prepared."};
  switch (property) {
    case EncoderProperty::realTime:
      return apply<bool>(value, [](bool realTime) { return realTime; });
    case EncoderProperty::profileLevel:
      return apply<EncoderProfileLevel>(
          value, [](EncoderProfileLevel level) { return level == EncoderProfileLevel::h264MainAutoLevel; });
    case EncoderProperty::allowFrameReordering:
      return apply<bool>(value, [](bool allowed) { return !allowed; });
    case EncoderProperty::maxKeyFrameInterval:
      return applyPositive(value, settings_.maxKeyFrameInterval);
    case EncoderProperty::maxKeyFrameIntervalDuration:
      return applyPositive(value, maxKeyFrameSeconds_);
    case EncoderProperty::averageBitRate:
      return applyPositive(value, settings_.bitRate);
    case EncoderProperty::expectedFrameRate:
      return applyPositive(value, settings_.fps);
    case EncoderProperty::dataRateLimits:
      return apply<DataRateLimit>(value, [this](const DataRateLimit& limit) {
        const bool possible = limit.bytes > 0 && limit.window.count() > 0;
        if (possible) settings_.dataRateLimit = limit;
        return possible;
      });
  }
  return Failure{"There is no such property."};
}

bool EncoderState::enter() {
  const std::lock_guard lock(mutex_);
  if (isInvalidated_) return false;
  isBusy_ = true;
  return true;
}

void EncoderState::leave() {
  std::unique_ptr<PictureEncoder> closed;
  const std::lock_guard lock(mutex_);
  isBusy_ = false;
  if (isInvalidated_) closed.swap(encoder_);
}

void EncoderState::invalidate() {
  std::unique_ptr<PictureEncoder> closed;
  const std::lock_guard lock(mutex_);
  isInvalidated_ = true;
  if (!isBusy_) closed.swap(encoder_);
}

std::optional<Failure> EncoderState::refusal(const PixelBuffer& picture) const {
  if (picture.width() != settings_.width || picture.height() != settings_.height) {
    return Failure{"The picture is not of the session's size."};
  }
  const bool known = picture.format() == PixelFormat::i420 || picture.format() == PixelFormat::nv12;
  if (!known || (encoder_ && picture.format() != settings_.format)) {
    return Failure{"The picture's format cannot be encoded."};
  }
  return std::nullopt;
}

Result<void> EncoderState::openNamed() {
  auto opened = environment_.open(name_, settings_);
  if (!opened) {
    environment_.log.warning(name_ + " cannot encode " + std::to_string(settings_.width) + "×" +
                             std::to_string(settings_.height) + ": " + opened.error());
    return Failure{opened.error()};
  }
  encoder_ = std::move(opened).value();
  if (environment_.onOpened) environment_.onOpened(name_);
  keyFrames_ = KeyFrameSchedule(settings_.maxKeyFrameInterval, std::chrono::seconds(maxKeyFrameSeconds_));
  return {};
}

Result<void> EncoderState::open(PixelFormat format, PresentationTime time) {
  settings_.format = format;
  if (!account_) {
    const auto bucket = leakyBucket(settings_);
    account_ = DataRateAccount(bucket.rate, bucket.size, settings_.fps);
  }
  settings_.left = account_->left(time);
  auto opened = openNamed();
  if (!opened && name_ != kSoftwareEncoder) {
    name_ = kSoftwareEncoder;
    opened = openNamed();
  }
  if (opened) account_->encoderBeganAnew(time);
  return opened;
}

// What follows a key frame that does not come would be of no use.
bool EncoderState::isLeftOut(PresentationTime time) const {
  if (account_->encoderIsAhead(time)) return true;
  return owesKeyFrame_ && !keyFrames_.isDue(time) && !requests_.mayBeMet(time);
}

bool EncoderState::isBetterBegunAnew(const PixelBuffer& picture, PresentationTime time,
                                     bool isKeyFrame) const {
  if (name_ != kSoftwareEncoder || !account_->encoderIsBehind(time)) return false;
  if (isKeyFrame) return true;
  // Pictures that move, be it less often than expected, are better off with what they refer to.
  return account_->isAfterPause(time) && picture.change.picture != lastPicture_ && isLargeChange(picture);
}

Result<std::optional<AccessUnit>> EncoderState::encode(std::shared_ptr<const PixelBuffer> picture,
                                                       bool forceKeyFrame) {
  if (!picture) return Failure{"There is no picture."};
  if (auto failure = refusal(*picture)) return *failure;
  const auto time = environment_.now();
  owesKeyFrame_ = owesKeyFrame_ || forceKeyFrame;
  if (encoder_ && isLeftOut(time)) return std::optional<AccessUnit>();
  const bool isKeyFrame = std::exchange(owesKeyFrame_, false) || keyFrames_.isDue(time);
  if (encoder_ && isBetterBegunAnew(*picture, time, isKeyFrame)) encoder_.reset();
  if (!encoder_) {
    if (auto opened = open(picture->format(), time); !opened) return Failure{opened.error()};
  }
  lastPicture_ = picture->change.picture;
  return encodeOpened(std::move(picture), time, isKeyFrame || keyFrames_.isDue(time));
}

Result<std::optional<AccessUnit>> EncoderState::encodeOpened(std::shared_ptr<const PixelBuffer> picture,
                                                             PresentationTime time, bool isKeyFrame) {
  auto encoded = encoder_->encode(std::move(picture), isKeyFrame);
  if (!encoded) {
    // What an encoder that failed makes of the next picture is unknown; that one begins anew, in software.
    environment_.log.warning(name_ + " failed: " + encoded.error());
    encoder_.reset();
    name_ = kSoftwareEncoder;
  } else if (encoded.value()) {
    lastQuantizer_ = encoder_->lastQuantizer();
    keyFrames_.encoded(time, encoded.value()->isIdr);
    requests_.encoded(time, encoded.value()->isIdr);
    if (encoded.value()->isIdr) setIdrPictureId(*encoded.value(), idrPictures_++);
    account_->encoded(time, encoded.value()->data.size());
  }
  return encoded;
}

}  // namespace tevanto
