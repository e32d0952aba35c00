#include "platform/linux/video/ProbingEncoderFactory.h"

#include <algorithm>
#include <utility>

#include "platform/linux/video/LibavLogCapture.h"
#include "platform/linux/video/OpenEncoder.h"
#include "screen/encode/PictureEncoder.h"
#include "screen/encode/PictureEncoderSession.h"
#include "screen/picture/PixelBufferPool.h"

namespace tevanto {
namespace {

constexpr std::int32_t kLongestSide = 16'384;  // of libx264; level 6.2 ends below it
constexpr int kProbeWidth = 640;               // every hardware encoder takes it
constexpr int kProbeHeight = 480;
constexpr std::byte kMainProfile{77};

bool hasMainProfile(const AccessUnit& unit) { return unit.sps->size() > 1 && (*unit.sps)[1] == kMainProfile; }

std::chrono::nanoseconds monotonicTime() { return std::chrono::steady_clock::now().time_since_epoch(); }

bool isPossible(std::int32_t side) { return side > 0 && side <= kLongestSide && side % 2 == 0; }

}  // namespace

ProbingEncoderFactory::ProbingEncoderFactory(Logger log)
    : ProbingEncoderFactory(std::move(log), encoderCandidates()) {}

ProbingEncoderFactory::ProbingEncoderFactory(Logger log, std::vector<std::string> candidates)
    : ProbingEncoderFactory({std::move(log), monotonicTime, openEncoder, nullptr}, std::move(candidates)) {}

ProbingEncoderFactory::ProbingEncoderFactory(PictureEncoderSession::Environment environment,
                                             std::vector<std::string> candidates)
    : environment_(std::move(environment)), candidates_(std::move(candidates)) {
  LibavLogCapture::install();
}

Result<std::shared_ptr<EncoderSession>> ProbingEncoderFactory::create(std::int32_t width, std::int32_t height,
                                                                      VideoCodec codec) {
  if (codec != VideoCodec::h264) return Failure{"Only H.264 can be encoded."};
  if (!isPossible(width) || !isPossible(height)) {
    return Failure{"Pictures of " + std::to_string(width) + "×" + std::to_string(height) +
                   " cannot be encoded."};
  }
  if (choice().encoder.empty()) return Failure{"No H.264 encoder works on this computer."};
  return std::shared_ptr<EncoderSession>(
      std::make_shared<PictureEncoderSession>(choice().encoder, width, height, environmentOfSession()));
}

PictureEncoderSession::Environment ProbingEncoderFactory::environmentOfSession() const {
  auto environment = environment_;
  environment.onOpened = [inUse = inUse_](const std::string& name) {
    const std::lock_guard lock(inUse->mutex);
    inUse->encoder = name;
  };
  return environment;
}

std::string ProbingEncoderFactory::encoderName() const {
  {
    const std::lock_guard lock(inUse_->mutex);
    if (!inUse_->encoder.empty()) return inUse_->encoder;
  }
  return choice().encoder;
}

std::vector<ProbingEncoderFactory::Refusal> ProbingEncoderFactory::refusals() const {
  return choice().refusals;
}

std::string ProbingEncoderFactory::description() const {
  const auto& made = choice();
  std::string reasons;
  for (const auto& [encoder, reason] : made.refusals) {
    reasons += (reasons.empty() ? "" : "; ") + encoder + ": " + reason;
  }
  const std::string name = made.encoder.empty() ? "none" : made.encoder;
  return reasons.empty() ? name : name + " (" + reasons + ")";
}

const ProbingEncoderFactory::Choice& ProbingEncoderFactory::choice() const {
  std::call_once(probed_, [this] { choice_ = probe(); });
  return choice_;
}

ProbingEncoderFactory::Choice ProbingEncoderFactory::probe() const {
  Choice made;
  for (const auto& encoder : candidates_) {
    const auto reason = refusal(encoder);
    if (!reason) {
      made.encoder = encoder;
      environment_.log.debug("encoding with " + encoder);
      return made;
    }
    environment_.log.debug(encoder + " does not encode here: " + *reason);
    made.refusals.push_back({encoder, *reason});
  }
  return made;
}

// Why the encoder is of no use here; absent when it is. Opening alone proves little: some fail at their
// first picture, or hold it back.
std::optional<std::string> ProbingEncoderFactory::refusal(const std::string& encoder) const {
  EncoderSettings settings;
  settings.width = kProbeWidth;
  settings.height = kProbeHeight;
  auto opened = environment_.open(encoder, settings);
  if (!opened) return opened.error();
  PixelBufferPool pool(settings.format, settings.width, settings.height, 1);
  const auto encoded = opened.value()->encode(pool.acquire(), true);
  if (!encoded) return encoded.error();
  if (!encoded.value()) return "it holds pictures back";
  const auto& unit = *encoded.value();
  if (!unit.isIdr || !unit.sps || !unit.pps) return "its first picture is no key frame with parameter sets";
  if (!hasMainProfile(unit)) return "it does not encode Main profile";
  return std::nullopt;
}

}  // namespace tevanto
