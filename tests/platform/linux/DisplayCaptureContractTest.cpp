// What the capture engine relies on holds of the X11 displays and of the fake that stands in for them alike.

#include "tests/platform/linux/CaptureOnXvfb.h"
#include "tests/support/FakeDisplayCapture.h"

namespace tevanto {
namespace {

using test::eventually;

/// An implementation with the display that it captures.
class Stage {
 public:
  virtual ~Stage() = default;
  virtual DisplayCapture& subject() = 0;
  /// Makes a running stream deliver another picture.
  virtual void change() = 0;
  /// From here on nothing can be captured.
  virtual void breakDown() = 0;
};

class X11Stage final : public Stage {
 public:
  DisplayCapture& subject() override { return capture_; }
  void change() override { client_->fill({0, 0, 640, 400}, ++color_ * 0x1020); }
  void breakDown() override {
    client_.reset();
    server_.kill();
  }

 private:
  test::XvfbServer server_{"640x400x24"};
  std::unique_ptr<test::DrawingXClient> client_ = std::make_unique<test::DrawingXClient>(server_.display());
  X11DisplayCapture capture_{server_.display()};
  std::uint32_t color_ = 0;
};

class FakeStage final : public Stage {
 public:
  DisplayCapture& subject() override { return capture_; }
  void change() override {
    auto& stream = *capture_.streams.back();
    if (stream.onStarted) std::exchange(stream.onStarted, nullptr)({});
    const auto& asked = stream.configuration;
    PixelBufferPool pool(asked.pixelFormat, static_cast<int>(asked.width), static_cast<int>(asked.height), 1);
    stream.deliverPicture(time_ += std::chrono::seconds(1), pool.acquire());
  }
  void breakDown() override { capture_.listFailure = "broken down"; }

 private:
  test::FakeDisplayCapture capture_;
  PresentationTime time_{0};
};

struct Implementation {
  const char* name;
  std::function<std::unique_ptr<Stage>()> make;
};

void PrintTo(const Implementation& implementation, std::ostream* out) { *out << implementation.name; }

class DisplayCaptureContract : public ::testing::TestWithParam<Implementation> {
 protected:
  ~DisplayCaptureContract() override { loop->stop(); }

  Result<std::vector<ShareableDisplay>> displays() {
    std::promise<Result<std::vector<ShareableDisplay>>> answer;
    stage->subject().listDisplays([&](auto list) { answer.set_value(std::move(list)); });
    return answer.get_future().get();
  }

  std::size_t count() {
    const std::lock_guard lock(mutex);
    return times.size();
  }

  // Before the loop: a sample under way when the stream is stopped may still arrive.
  std::mutex mutex;
  std::vector<PresentationTime> times;
  std::shared_ptr<EventLoop> loop = EventLoop::background(1);
  std::shared_ptr<SerialQueue> queue = loop->makeQueue("capture");
  std::unique_ptr<Stage> stage = GetParam().make();
};

TEST_P(DisplayCaptureContract, listsDisplaysOfWhichOneIsTheMainOne) {
  const auto all = displays();
  ASSERT_TRUE(all);
  const auto mains =
      std::count_if(all.value().begin(), all.value().end(), [](const auto& d) { return d.isMain; });
  EXPECT_EQ(mains, 1);
  for (const auto& display : all.value()) EXPECT_TRUE(display.width > 0 && display.height > 0);
}

TEST_P(DisplayCaptureContract, failsToListWhatCannotBeCaptured) {
  stage->breakDown();
  EXPECT_FALSE(displays());
}

TEST_P(DisplayCaptureContract, deliversWhatWasConfiguredOnTheSampleQueueInTheOrderOfTime) {
  const auto format = stage->subject().preferredFormat();
  const CaptureConfiguration configuration{320, 200, std::chrono::milliseconds(1), format, 5, true};
  CaptureStream::Handlers handlers;
  handlers.onSample = [this, format](const CaptureSample& sample) {
    EXPECT_TRUE(queue->isCurrent());
    EXPECT_TRUE(sample.isValid);
    EXPECT_EQ(sample.type, SampleType::screen);
    EXPECT_EQ(sample.status, SampleStatus::complete);
    ASSERT_TRUE(sample.image);
    EXPECT_EQ(sample.image->width(), 320);
    EXPECT_EQ(sample.image->height(), 200);
    EXPECT_EQ(sample.image->format(), format);
    const std::lock_guard lock(mutex);
    times.push_back(sample.presentationTime);
  };
  auto made = stage->subject().makeStream(displays().value().front().id, configuration, queue, handlers);
  ASSERT_TRUE(made);
  const auto stream = made.value();
  std::promise<bool> started;
  stream->start([&](const Result<void>& result) { started.set_value(result.ok()); });
  stage->change();
  EXPECT_TRUE(started.get_future().get());
  for (int i = 0; i < 5; ++i) {
    const auto before = count();
    stage->change();
    ASSERT_TRUE(eventually([&] { return count() > before; }));
  }
  for (int i = 0; i < 2; ++i) {
    std::promise<void> stopped;
    stream->stop([&](const Result<void>&) { stopped.set_value(); });
    stopped.get_future().get();
  }
  const std::lock_guard lock(mutex);
  for (std::size_t i = 1; i < times.size(); ++i) EXPECT_GT(times[i], times[i - 1]);
}

INSTANTIATE_TEST_SUITE_P(Displays, DisplayCaptureContract,
                         ::testing::Values(Implementation{"X11", [] { return std::make_unique<X11Stage>(); }},
                                           Implementation{"fake",
                                                          [] { return std::make_unique<FakeStage>(); }}));

}  // namespace
}  // namespace tevanto
