#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "screen/encode/DataRateAccount.h"
#include "screen/encode/KeyFrameRequests.h"
#include "screen/encode/KeyFrameSchedule.h"
#include "screen/encode/PictureEncoder.h"
#include "screen/encode/PictureEncoderSession.h"

namespace tevanto {

/// EncoderState is the part of a PictureEncoderSession that lives until the frame under way has been encoded.
/// It owns the encoder, and decides when to open it, when a picture is left out, and which picture is a key
/// frame.
///
///     closed --first picture--> open --failure, or better begun anew--> closed
///        any --invalidate--> over: at once, or with `leave` while a frame is under way
///
/// `invalidate` is thread-safe. The other calls come from one thread at a time.
/// `encode` and `lastQuantizer` are called between `enter` and `leave`.
class EncoderState {
 public:
  using Environment = PictureEncoderSession::Environment;

  EncoderState(std::string encoderName, std::int32_t width, std::int32_t height, Environment environment);

  /// Fails once the session is prepared.
  Result<void> set(EncoderProperty property, const EncoderPropertyValue& value);
  void prepare() { isPrepared_ = true; }
  /// A frame is under way from here to `leave`; false once the session has been invalidated.
  bool enter();
  void leave();
  void invalidate();

  /// Absent when nothing came out: the picture is left out, or the encoder put nothing out.
  Result<std::optional<AccessUnit>> encode(std::shared_ptr<const PixelBuffer> picture, bool forceKeyFrame);
  /// Of the last frame that came out, as far as the encoder tells.
  std::optional<double> lastQuantizer() const { return lastQuantizer_; }

 private:
  Result<void> open(PixelFormat format, PresentationTime time);
  Result<void> openNamed();
  bool isLeftOut(PresentationTime time) const;
  bool isBetterBegunAnew(const PixelBuffer& picture, PresentationTime time, bool isKeyFrame) const;
  Result<std::optional<AccessUnit>> encodeOpened(std::shared_ptr<const PixelBuffer> picture,
                                                 PresentationTime time, bool isKeyFrame);
  std::optional<Failure> refusal(const PixelBuffer& picture) const;

  std::mutex mutex_;     // guards the next two, and the encoder while no frame is under way
  bool isBusy_ = false;  // a frame is under way, on whose thread the encoder is
  bool isInvalidated_ = false;
  std::unique_ptr<PictureEncoder> encoder_;

  bool isPrepared_ = false;
  std::string name_;  // of the encoder
  const Environment environment_;
  EncoderSettings settings_;
  std::int64_t maxKeyFrameSeconds_ = 0;
  KeyFrameSchedule keyFrames_;
  KeyFrameRequests requests_;
  std::optional<DataRateAccount> account_;
  std::uint64_t lastPicture_ = 0;
  std::optional<double> lastQuantizer_;
  bool owesKeyFrame_ = false;  // asked for with a picture that was left out
  std::uint16_t idrPictures_ = 0;
};

}  // namespace tevanto
