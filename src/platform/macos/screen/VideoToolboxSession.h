#pragma once

#import <VideoToolbox/VideoToolbox.h>

#include <atomic>
#include <memory>
#include <mutex>

#include "platform/macos/foundation/CfOwned.h"
#include "screen/encode/EncoderSession.h"

namespace tevanto {

/// VideoToolboxSession is one VTCompressionSession. Output arrives on a thread of VideoToolbox in the order
/// of the pictures, often after the call has returned and maybe after the next one.
class VideoToolboxSession final : public EncoderSession {
 public:
  explicit VideoToolboxSession(CfOwned<VTCompressionSessionRef> session);
  ~VideoToolboxSession() override;

  Result<void> setProperty(EncoderProperty property, const EncoderPropertyValue& value) override;
  void prepareToEncodeFrames() override;
  void encodeFrame(std::shared_ptr<const PixelBuffer> picture, PresentationTime presentationTime,
                   const EncodeFrameProperties& properties, OutputHandler output) override;
  void invalidate() override;

 private:
  CfOwned<VTCompressionSessionRef> session() const;

  mutable std::mutex mutex_;
  CfOwned<VTCompressionSessionRef> session_;  // none once invalidated
  /// True when a key frame was requested with a picture that was dropped. Outlives the session while a
  /// picture is being encoded.
  const std::shared_ptr<std::atomic<bool>> owesKeyFrame_ = std::make_shared<std::atomic<bool>>(false);
};

}  // namespace tevanto
