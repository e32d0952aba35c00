#include "platform/linux/video/LoadedEncoders.h"

#include "platform/linux/process/LoadedModule.h"

namespace tevanto {
namespace {

constexpr auto kModule = "encoders";
constexpr ModuleEntry<EncoderSessionFactory*(const Logger&)> kMakeEncoders{kModule, "tevantoMakeEncoders"};
constexpr ModuleEntry<std::string*(EncoderSessionFactory&)> kDescribeEncoders{kModule,
                                                                              "tevantoDescribeEncoders"};

}  // namespace

LoadedEncoders::~LoadedEncoders() = default;

Result<EncoderSessionFactory*> LoadedEncoders::load() const {
  const std::lock_guard lock(mutex_);
  if (encoders_) return encoders_.get();
  auto made = makeFromModule(kMakeEncoders, log_);
  if (!made) return Failure{made.error()};
  encoders_ = std::move(made).value();
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
  const auto text = makeFromModule(kDescribeEncoders, *encoders.value());
  if (!text) return Failure{text.error()};
  return *text.value();
}

}  // namespace tevanto
