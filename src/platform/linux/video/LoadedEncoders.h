#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include "core/Log.h"
#include "screen/encode/EncoderSession.h"

namespace tevanto {

/// LoadedEncoders makes compression sessions with the encoders of a module, which it loads with the first
/// session. Most runs of the companion never mirror, and need neither its libraries nor the search for a
/// working encoder.
/// Thread-safe.
class LoadedEncoders final : public EncoderSessionFactory {
 public:
  explicit LoadedEncoders(Logger log) : log_(std::move(log)) {}
  ~LoadedEncoders() override;

  Result<std::shared_ptr<EncoderSession>> create(std::int32_t width, std::int32_t height,
                                                 VideoCodec codec) override;
  std::string encoderName() const override;

  /// The encoder of the last session, without looking for one.
  std::string usedEncoder() const;
  /// The choice and its reasons for a person.
  Result<std::string> description() const;

 private:
  Result<EncoderSessionFactory*> load() const;

  const Logger log_;
  mutable std::mutex mutex_;
  mutable std::unique_ptr<EncoderSessionFactory> encoders_;
  bool isUsed_ = false;
};

}  // namespace tevanto
