#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "core/Log.h"
#include "screen/encode/EncoderSession.h"
#include "screen/encode/PictureEncoderSession.h"

namespace tevanto {

/// Compression sessions with the first encoder that encodes a picture on this computer: those of libavcodec
/// in hardware first, then libx264. Which one that is, is found out once, when it is first
/// asked for, as it may take a good part of a second.
class ProbingEncoderFactory final : public EncoderSessionFactory {
 public:
  struct Refusal {
    std::string encoder;
    std::string reason;
  };

  explicit ProbingEncoderFactory(Logger log);
  /// Tries `candidates` instead, in their order.
  ProbingEncoderFactory(Logger log, std::vector<std::string> candidates);
  /// With a clock and a way to open encoders of its own; `environment.onOpened` is not used.
  ProbingEncoderFactory(PictureEncoderSession::Environment environment, std::vector<std::string> candidates);

  /// Fails for sizes that 4:2:0 cannot have, and when no encoder works.
  Result<std::shared_ptr<EncoderSession>> create(std::int32_t width, std::int32_t height,
                                                 VideoCodec codec) override;
  /// The encoder that was opened last, which is another than was chosen where that could not do a session's
  /// pictures; before, the one that was chosen.
  std::string encoderName() const override;
  /// Why the encoders before the one in use are not used; all of them when none works.
  std::vector<Refusal> refusals() const;
  /// The choice and its reasons for a person: "libx264 (h264_nvenc: Cannot load libcuda.so.1; ...)".
  std::string description() const;

 private:
  struct Choice {
    std::string encoder;
    std::vector<Refusal> refusals;
  };

  /// Shared with the sessions, which may outlive the factory.
  struct InUse {
    std::mutex mutex;
    std::string encoder;
  };

  const Choice& choice() const;
  Choice probe() const;
  std::optional<std::string> refusal(const std::string& encoder) const;
  PictureEncoderSession::Environment environmentOfSession() const;

  const PictureEncoderSession::Environment environment_;
  const std::shared_ptr<InUse> inUse_ = std::make_shared<InUse>();
  const std::vector<std::string> candidates_;
  mutable std::once_flag probed_;
  mutable Choice choice_;
};

}  // namespace tevanto
