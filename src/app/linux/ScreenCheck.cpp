#include "app/linux/ScreenCheck.h"

#include <chrono>
#include <cstdint>
#include <memory>

#include "app/linux/CheckedDisplay.h"
#include "core/Log.h"
#include "core/queue/EventLoop.h"
#include "core/queue/OneShotResult.h"
#include "platform/linux/video/LoadedEncoders.h"
#include "screen/capture/CaptureEngine.h"

namespace tevanto {
namespace {

constexpr std::int64_t kLongSide = 1280;
constexpr std::int64_t kFramesPerSecond = 15;
constexpr auto kTimeout = std::chrono::seconds(5);

/// The first result of the capture: a picture or an error.
Result<std::string> firstWord(CaptureEngine& engine) {
  using Word = Result<std::string>;
  const auto answer = std::make_shared<OneShotResult<Word>>();
  engine.setPixelBufferHandler([answer](const auto&, PresentationTime, std::int64_t width,
                                        std::int64_t height) {
    answer->set("a picture of " + std::to_string(width) + " x " + std::to_string(height) + " was captured");
  });
  engine.setErrorHandler([answer](const std::string& text) { answer->set(Failure{text}); });
  engine.start();
  return answer->waitFor(kTimeout).value_or(Failure{"No picture came"});
}

}  // namespace

Result<std::string> tryScreenCapture() {
  const auto loop = EventLoop::background(1);
  const CheckedDisplay display;
  const auto engine = std::make_shared<CaptureEngine>(display->capture(), kLongSide, kFramesPerSecond,
                                                      loop->makeQueue("tevanto.screen.capture"));
  auto word = firstWord(*engine);
  engine->stop();
  loop->stop();
  if (word) return word;
  return Failure{"The screen cannot be mirrored: " + word.error() + " (" + display->describe() +
                 "); run this in a graphical X11 session, or start one with scripts/start."};
}

Result<std::string> tryEncoders() {
  const LoadedEncoders encoders{Logger()};
  auto description = encoders.description();
  if (!description) return description;
  if (encoders.encoderName().empty()) {
    return Failure{"No H.264 encoder works here: " + description.value() +
                   "; install the package libavcodec59 with libx264."};
  }
  return description;
}

}  // namespace tevanto
