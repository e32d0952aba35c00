#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <span>

#include "screen/encode/EncoderSession.h"
#include "screen/encode/ManagedAtomicFlag.h"

namespace tevanto {

/// H264Encoder turns the pictures of one streaming session into H.264 for low latency. Nothing is reordered,
/// a key frame comes at least every four seconds, and the data of each second has a hard limit. It makes its
/// compression session with the first picture, and a new one whenever the size changes.
/// `encode` runs on the capture queue; output comes on the session's thread.
class H264Encoder final : public std::enable_shared_from_this<H264Encoder> {
 public:
  /// The bytes are valid during the call only.
  using ConfigHandler = std::function<void(std::span<const std::byte> sps, std::span<const std::byte> pps)>;
  using FrameHandler = std::function<void(std::span<const std::byte> data, bool isKeyframe)>;

  /// Bits and frames per second. `sessions` outlives it.
  H264Encoder(EncoderSessionFactory& sessions, std::int64_t bitRate, std::int64_t fps);
  ~H264Encoder();

  /// The parameter sets of each key frame, right before it.
  void setConfigHandler(ConfigHandler handler);
  /// Every encoded frame.
  void setFrameHandler(FrameHandler handler);

  /// Width and height fit 32 bits, or the process ends. A picture that cannot be encoded is dropped.
  void encode(std::shared_ptr<const PixelBuffer> pixelBuffer, PresentationTime presentationTime,
              std::int64_t width, std::int64_t height);
  /// Makes the next picture that is encoded a key frame. From any thread.
  void requestKeyframe() { forceKeyframe_.set(); }
  /// True when the last picture came out as good as the encoder makes any, as far as it tells. From any
  /// thread.
  bool lastWasFinest() const { return lastWasFinest_; }
  /// True when nothing came out for the last picture. From any thread.
  bool lastWasLeftOut() const { return lastWasLeftOut_; }
  /// Ends the session. From any thread.
  void invalidate();

 private:
  std::shared_ptr<EncoderSession> sessionFor(std::int64_t width, std::int64_t height);
  std::shared_ptr<EncoderSession> makeSession(std::int32_t width, std::int32_t height);
  void setProperties(EncoderSession& session) const;
  void handleEncoded(EncodeStatus status, const EncodedSample* sample);
  void announceParameterSets(const EncodedSample& sample);

  EncoderSessionFactory& sessions_;
  const std::int64_t bitRate_;
  const std::int64_t fps_;
  ManagedAtomicFlag forceKeyframe_;
  std::atomic<bool> lastWasFinest_ = false;
  std::atomic<bool> lastWasLeftOut_ = false;

  std::mutex callbackLock_;
  ConfigHandler configHandler_;
  FrameHandler frameHandler_;

  std::mutex sessionLock_;
  std::shared_ptr<EncoderSession> session_;
  std::int64_t width_ = 0;
  std::int64_t height_ = 0;
};

}  // namespace tevanto
