#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <condition_variable>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "core/queue/EventLoop.h"
#include "platform/linux/x11/capture/X11DisplayCapture.h"
#include "tests/support/desktop/DrawingXClient.h"
#include "tests/support/desktop/XvfbServer.h"
#include "tests/support/programs/Eventually.h"
#include "tests/support/video/TestPictures.h"

namespace tevanto::test {

/// A picture that was delivered, copied, so that its buffer goes back.
struct TakenPicture {
  int width = 0;
  int height = 0;
  PictureChange change;
  PresentationTime time{0};
  std::vector<std::vector<std::uint8_t>> planes;  // without gaps between rows

  explicit TakenPicture(const CaptureSample& sample)
      : width(sample.image->width()),
        height(sample.image->height()),
        change(sample.image->change),
        time(sample.presentationTime) {
    for (const auto& plane : sample.image->planes()) {
      auto& bytes = planes.emplace_back();
      for (std::size_t y = 0; y < plane.rows; ++y) {
        const auto* row = reinterpret_cast<const std::uint8_t*>(plane.data + y * plane.stride);
        bytes.insert(bytes.end(), row, row + plane.rowBytes);
      }
    }
  }
  /// The color of a pixel of a bgra picture.
  std::uint32_t at(int x, int y) const {
    std::uint32_t pixel = 0;
    std::memcpy(
        &pixel,
        planes[0].data() +
            (static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x)) * 4,
        4);
    return pixel & 0xFFFFFF;
  }
  int luma(int x, int y) const {
    return planes[0][static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
                     static_cast<std::size_t>(x)];
  }
};

/// A capture of a real X server's display and an application that paints on it.
class CaptureOnXvfb : public ::testing::Test {
 protected:
  ~CaptureOnXvfb() override {
    stream.reset();
    loop->stop();
  }

  void serve(const std::string& geometry, std::vector<std::string> options = {}) {
    server = std::make_unique<XvfbServer>(geometry, std::move(options));
    client = std::make_unique<DrawingXClient>(server->display());
    capture = std::make_unique<X11DisplayCapture>(server->display());
  }
  std::vector<ShareableDisplay> displays() {
    std::vector<ShareableDisplay> result;
    capture->listDisplays([&](const auto& answer) {
      if (answer) result = answer.value();
    });
    return result;
  }
  static CaptureConfiguration configurationOf(int width, int height, PixelFormat format = PixelFormat::bgra) {
    return {width, height, std::chrono::milliseconds(33), format, 5, true};
  }
  void makeStream(const CaptureConfiguration& configuration, DisplayID display) {
    CaptureStream::Handlers handlers;
    handlers.onSample = [this](const CaptureSample& sample) {
      TakenPicture picture(sample);
      std::function<void(const CaptureSample&)> also;
      {
        const std::lock_guard lock(mutex);
        pictures.push_back(std::move(picture));
        also = onSample;
      }
      if (also) also(sample);
    };
    handlers.onStopped = [this](const std::string& reason) {
      const std::lock_guard lock(mutex);
      stopReasons.push_back(reason);
    };
    auto made = capture->makeStream(display, configuration, queue, std::move(handlers));
    ASSERT_TRUE(made) << made.error();
    stream = made.value();
  }
  /// Whether it started.
  bool start(const CaptureConfiguration& configuration, DisplayID display = 0) {
    makeStream(configuration, display != 0 ? display : displays().front().id);
    return startStream();
  }
  bool startStream() {
    std::promise<bool> started;
    stream->start([&](const Result<void>& result) { started.set_value(result.ok()); });
    return started.get_future().get();
  }
  void stop() {
    std::promise<void> stopped;
    stream->stop([&](const Result<void>&) { stopped.set_value(); });
    stopped.get_future().get();
  }

  std::size_t count() {
    const std::lock_guard lock(mutex);
    return pictures.size();
  }
  std::optional<TakenPicture> latest() {
    const std::lock_guard lock(mutex);
    if (pictures.empty()) return std::nullopt;
    return pictures.back();
  }
  /// Waits for a latest picture of which `condition` holds.
  template <class Condition>
  bool shows(Condition condition) {
    return eventually([&] {
      const auto picture = latest();
      return picture && condition(*picture);
    });
  }
  bool showsColor(int x, int y, std::uint32_t color) {
    return shows([&](const TakenPicture& picture) { return picture.at(x, y) == color; });
  }
  std::size_t stops() {
    const std::lock_guard lock(mutex);
    return stopReasons.size();
  }
  bool xrandr(std::vector<std::string> arguments) {
    std::vector<std::string> command{"xrandr", "--display", server->display()};
    command.insert(command.end(), arguments.begin(), arguments.end());
    const auto result = runProgram(std::move(command), {.environment = {}, .mergeErrors = true});
    EXPECT_EQ(result.exitStatus, 0) << result.output;
    return result.exitStatus == 0;
  }

  std::shared_ptr<EventLoop> loop = EventLoop::background(1);
  std::shared_ptr<SerialQueue> queue = loop->makeQueue("capture");
  std::unique_ptr<XvfbServer> server;
  std::unique_ptr<DrawingXClient> client;
  std::unique_ptr<X11DisplayCapture> capture;
  std::shared_ptr<CaptureStream> stream;
  std::mutex mutex;
  std::vector<TakenPicture> pictures;
  std::vector<std::string> stopReasons;
  std::function<void(const CaptureSample&)> onSample;  // after the picture was taken down
};

}  // namespace tevanto::test
