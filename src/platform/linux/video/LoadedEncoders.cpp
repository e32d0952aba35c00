#include "platform/linux/video/LoadedEncoders.h"

#include "platform/linux/process/ProgramModule.h"
#include "platform/linux/video/EncoderModule.h"

namespace tevanto {

LoadedEncoders::~LoadedEncoders() = default;

Result<EncoderSessionFactory*> LoadedEncoders::load() const {
  const std::lock_guard lock(mutex_);
  if (encoders_) return encoders_.get();
  const auto make = functionOfModule(kEncoderModule, kMakeEncoders);
  if (!make) return Failure{make.error()};
  encoders_.reset(reinterpret_cast<MakeEncoders>(make.value())(log_));
  return encoders_.get();
}

Result<std::shared_ptr<EncoderSession>> LoadedEncoders::create(std::int32_t width, std::int32_t height,
                                                               VideoCodec codec) {
  const auto encoders = load();
  if (!encoders) {
    log_.error(encoders.error());
    return Failure{encoders.error()};
  }
  auto session = encoders.value()->create(width, height, codec);
  if (!session) return session;
  const std::lock_guard lock(mutex_);
  isUsed_ = true;
  return session;
}

std::string LoadedEncoders::encoderName() const {
  const auto encoders = load();
  return encoders ? encoders.value()->encoderName() : std::string();
}

std::string LoadedEncoders::usedEncoder() const {
  const EncoderSessionFactory* encoders = nullptr;
  {
    const std::lock_guard lock(mutex_);
    if (isUsed_) encoders = encoders_.get();
  }
  return encoders ? encoders->encoderName() : std::string();
}

Result<std::string> LoadedEncoders::description() const {
  const auto encoders = load();
  if (!encoders) return Failure{encoders.error()};
  const auto describe = functionOfModule(kEncoderModule, kDescribeEncoders);
  if (!describe) return Failure{describe.error()};
  const std::unique_ptr<std::string> text(
      reinterpret_cast<DescribeEncoders>(describe.value())(*encoders.value()));
  return *text;
}

}  // namespace tevanto
