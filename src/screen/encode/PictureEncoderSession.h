#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include "core/Log.h"
#include "screen/encode/EncoderSession.h"

namespace tevanto {

class EncoderState;
class PictureEncoder;
struct EncoderSettings;

/// PictureEncoderSession is a compression session over one PictureEncoder, in hardware or software. It adds
/// what encoders lack: key frames and data rate by the clock. The encoder is opened with the first picture,
/// whose format it takes. Output comes within `encodeFrame`, on the caller's thread.
class PictureEncoderSession final : public EncoderSession {
 public:
  /// Environment holds the dependencies of a session.
  struct Environment {
    Logger log;
    std::function<std::chrono::nanoseconds()> now;  // monotonic; data rate and key frames go by it
    std::function<Result<std::unique_ptr<PictureEncoder>>(const std::string& name,
                                                          const EncoderSettings& settings)>
        open;
    /// An encoder of this name was opened. On the thread that encodes.
    std::function<void(const std::string& name)> onOpened;
  };

  /// `encoder`: one of `encoderCandidates`. Where it fails at the first picture, libx264 takes its place.
  PictureEncoderSession(std::string encoder, std::int32_t width, std::int32_t height,
                        Environment environment);
  ~PictureEncoderSession() override;
  PictureEncoderSession(const PictureEncoderSession&) = delete;
  PictureEncoderSession& operator=(const PictureEncoderSession&) = delete;

  Result<void> setProperty(EncoderProperty property, const EncoderPropertyValue& value) override;
  void prepareToEncodeFrames() override;
  void encodeFrame(std::shared_ptr<const PixelBuffer> picture, PresentationTime presentationTime,
                   const EncodeFrameProperties& properties, OutputHandler output) override;
  void invalidate() override;

 private:
  const std::shared_ptr<EncoderState> state_;  // outlives the session while a frame is under way
};

}  // namespace tevanto
