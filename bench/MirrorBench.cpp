// What mirroring costs and how late it is, on displays and companions that bench/run starts: draws the
// scenes, runs the capture and the encoder alone, and measures the way from a drawn change to a decoded
// picture.

#include <poll.h>
#include <sys/prctl.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <atomic>
#include <boost/json.hpp>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "bench/SceneXClient.h"
#include "core/queue/EventLoop.h"
#include "core/queue/SerialQueue.h"
#include "phone/connection/ScreenSocket.h"
#include "phone/media/LibavVideoDecoder.h"
#include "phone/mirror/MirrorStream.h"
#include "platform/linux/video/ProbingEncoderFactory.h"
#include "platform/linux/x11/capture/X11DisplayCapture.h"
#include "screen/capture/CaptureEngine.h"
#include "screen/encode/H264Encoder.h"
#include "screen/wire/ScreenStreamHello.h"
#include "screen/wire/ScreenStreamMessage.h"

namespace tevanto::bench {
namespace {

using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

constexpr std::chrono::microseconds kFrameInterval{66'667};  // at 15 a second

[[noreturn]] void fail(const std::string& what) {
  std::fprintf(stderr, "mirror_bench: %s\n", what.c_str());
  std::exit(1);
}

void say(const boost::json::object& figures) { std::printf("%s\n", boost::json::serialize(figures).c_str()); }

/// Draws until the process is ended: text that scrolls thirty lines a second, a letter ten times a second, or
/// a page that stands still.
void draw(const std::string& display, const std::string& scene) {
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  SceneXClient client(display);
  std::printf("drawn\n");
  std::fflush(stdout);
  const auto interval = std::chrono::milliseconds(scene == "scrolling" ? 33 : 100);
  for (auto next = Clock::now();; next += interval) {
    std::this_thread::sleep_until(next);
    if (scene == "scrolling") client.scroll();
    if (scene == "typing") client.type();
  }
}

struct PipelineOptions {
  std::string display;
  std::int64_t longSide = 1280;
  std::int64_t fps = 15;
  std::int64_t bitRate = 6'000'000;
  double seconds = 3;
};

/// Captures and encodes in this process, for rates that no phone asks for, and tells how that went once the
/// first second is over.
void runPipeline(const PipelineOptions& options) {
  const auto loop = EventLoop::background(1);
  const auto queue = loop->makeQueue("tevanto.screen.capture");
  X11DisplayCapture displays(options.display);
  ProbingEncoderFactory encoders{Logger()};
  std::mutex mutex;
  std::vector<double> encoding;
  std::size_t bytes = 0;
  const auto encoder = std::make_shared<H264Encoder>(encoders, options.bitRate, options.fps);
  const auto engine = std::make_shared<CaptureEngine>(displays, options.longSide, options.fps, queue);
  encoder->setFrameHandler([&](std::span<const std::byte> data, bool) {
    const std::lock_guard lock(mutex);
    bytes += data.size();
  });
  engine->setPixelBufferHandler([&](const auto& picture, PresentationTime time, auto width, auto height) {
    const auto began = Clock::now();
    encoder->encode(picture, time, width, height);
    const std::lock_guard lock(mutex);
    encoding.push_back(Milliseconds(Clock::now() - began).count());
  });
  engine->setErrorHandler([](const std::string& message) { fail(message); });
  engine->start();
  std::this_thread::sleep_for(std::chrono::seconds(1));
  {
    const std::lock_guard lock(mutex);
    encoding.clear();
    bytes = 0;
  }
  const auto began = Clock::now();
  std::this_thread::sleep_for(std::chrono::duration<double>(options.seconds));
  const double elapsed = std::chrono::duration<double>(Clock::now() - began).count();
  engine->stop();
  queue->sync([] {});
  say({{"framesPerSecond", static_cast<double>(encoding.size()) / elapsed},
       {"bitsPerSecond", static_cast<double>(bytes) * 8 / elapsed},
       {"encodingMs", boost::json::value_from(encoding)}});
  loop->stop();
}

/// A phone that decodes and looks at the marker.
class MarkerWatcher {
 public:
  MarkerWatcher(std::uint16_t port, const std::string& token, int displayWidth)
      : socket_(connect(port)), decoder_(makeDecoder()), displayWidth_(displayWidth) {
    socket_->send(helloMessage({token, 1280, 720, false}));
  }

  /// When the marker was first seen so; the process ends when it does not come to that.
  Clock::time_point waitFor(bool white) {
    const auto deadline = Clock::now() + std::chrono::seconds(10);
    while (Clock::now() < deadline) {
      pollfd ready{socket_->descriptor(), POLLIN, 0};
      ::poll(&ready, 1, 1000);
      std::optional<Clock::time_point> seen;
      const auto received = socket_->receive([&](std::span<const std::byte> message) {
        stream_.onMessage(message, Clock::now());
        if (!seen && isWhite_ == white) seen = Clock::now();
      });
      if (received == phone::ScreenSocket::Received::closed) fail("the companion has closed the stream");
      if (seen) return *seen;
    }
    fail("the marker was not seen");
  }

  /// Takes what comes until `deadline`.
  void takeUntil(Clock::time_point deadline) {
    while (Clock::now() < deadline) {
      pollfd ready{socket_->descriptor(), POLLIN, 0};
      const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
      ::poll(&ready, 1, static_cast<int>(std::max<std::int64_t>(0, left.count())));
      static_cast<void>(socket_->receive([&](auto message) { stream_.onMessage(message, Clock::now()); }));
    }
  }

 private:
  static std::unique_ptr<phone::ScreenSocket> connect(std::uint16_t port) {
    phone::Endpoint endpoint;
    endpoint.hosts = {"127.0.0.1"};
    endpoint.port = port;
    auto socket = phone::ScreenSocket::connect(endpoint, std::chrono::seconds(5));
    if (!socket) fail("cannot connect to the companion");
    return std::move(*socket);
  }
  static std::unique_ptr<phone::VideoDecoder> makeDecoder() {
    auto decoder = phone::LibavVideoDecoder::create();
    if (!decoder) fail(decoder.error());
    return std::move(decoder).value();
  }

  void look(const phone::DecodedPicture& picture) {
    const int middle = MarkerXClient::kSide * picture.width / displayWidth_ / 2;
    const auto& luma = picture.planes[0];
    const auto at = static_cast<std::size_t>(middle);
    isWhite_ = std::to_integer<int>(luma.data[at * luma.stride + at]) > 128;
  }

  std::unique_ptr<phone::ScreenSocket> socket_;
  std::unique_ptr<phone::VideoDecoder> decoder_;
  const int displayWidth_;
  std::optional<bool> isWhite_;
  phone::MirrorStream stream_{
      *decoder_,
      {.askForKeyFrame = [this] { socket_->send(screenMessage(ScreenMessageType::keyframeRequest)); },
       .onFrame =
           [this](const auto&, const auto& picture) {
             if (picture) look(*picture);
           },
       .onDropped = [] {}}};
};

/// Moments of a frame's interval, each as far from the next as all others: few of them then tell as much of
/// the 95th percentile as very many at random would.
std::vector<std::chrono::microseconds> evenlySpread(int count) {
  std::vector<std::chrono::microseconds> moments;
  for (int i = 0; i < count; ++i) moments.emplace_back(kFrameInterval * (2 * i + 1) / (2 * count));
  std::shuffle(moments.begin(), moments.end(), std::minstd_rand(7));
  return moments;
}

struct DelayOptions {
  std::string display;
  std::uint16_t port = 0;
  std::string token;
  int changes = 40;
  int pauseMilliseconds = 300;
};

/// Changes the marker at moments that are spread evenly over the time between two pictures, in no order, and
/// tells how long each change takes until it is decoded.
void measureDelay(const DelayOptions& options) {
  MarkerXClient marker(options.display);
  marker.show(false);
  MarkerWatcher watcher(options.port, options.token, marker.displayWidth());
  watcher.waitFor(false);
  watcher.takeUntil(Clock::now() + std::chrono::seconds(2));
  std::vector<double> delays;
  bool white = false;
  for (const auto offset : evenlySpread(options.changes)) {
    watcher.takeUntil(Clock::now() + std::chrono::milliseconds(options.pauseMilliseconds) + offset);
    white = !white;
    const auto drawn = Clock::now();
    marker.show(white);
    delays.push_back(Milliseconds(watcher.waitFor(white) - drawn).count());
  }
  say({{"delaysMs", boost::json::value_from(delays)}});
}

}  // namespace
}  // namespace tevanto::bench

int main(int argc, char** argv) {
  using namespace tevanto::bench;
  std::signal(SIGPIPE, SIG_IGN);
  CLI::App app("The parts of mirroring's benchmarks; bench/run puts them together.");
  app.require_subcommand(1);

  std::string display, scene;
  auto* drawing = app.add_subcommand("draw", "Draws a scene until it is ended");
  drawing->add_option("--display", display)->required();
  drawing->add_option("--scene", scene)->required()->check(CLI::IsMember({"scrolling", "typing", "still"}));

  PipelineOptions pipeline;
  auto* encoding = app.add_subcommand("pipeline", "Captures and encodes without a phone");
  encoding->add_option("--display", pipeline.display)->required();
  encoding->add_option("--long-side", pipeline.longSide);
  encoding->add_option("--fps", pipeline.fps);
  encoding->add_option("--bit-rate", pipeline.bitRate);
  encoding->add_option("--seconds", pipeline.seconds);

  DelayOptions delay;
  auto* delaying = app.add_subcommand("delay", "Measures from a drawn change to its decoded picture");
  delaying->add_option("--display", delay.display)->required();
  delaying->add_option("--port", delay.port)->required();
  delaying->add_option("--token", delay.token)->required();
  delaying->add_option("--changes", delay.changes);
  delaying->add_option("--pause", delay.pauseMilliseconds, "Between two changes, in milliseconds");

  CLI11_PARSE(app, argc, argv);
  if (*drawing) draw(display, scene);
  if (*encoding) runPipeline(pipeline);
  if (*delaying) measureDelay(delay);
}
