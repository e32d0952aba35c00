#include "screen/capture/CaptureEngine.h"

#include <gtest/gtest.h>

#include <limits>

#include "tests/support/fakes/FakeDisplayCapture.h"
#include "tests/support/fakes/ManualQueue.h"

namespace tevanto {
namespace {

using namespace std::chrono_literals;

TEST(scaledSize, boundsTheLongerSideAndKeepsBothEven) {
  struct Row {
    std::int64_t width, height, bound;
    OutputSize expected;
  };
  for (const auto& row : {
           Row{1920, 1080, 1280, {1280, 720}},
           Row{1920, 1080, 960, {960, 540}},
           Row{1080, 1920, 1280, {720, 1280}},
           Row{1279, 801, 1280, {1278, 800}},
           Row{3024, 1964, 1280, {1280, 830}},
           Row{3024, 1964, 960, {960, 622}},
           Row{3840, 2160, 1280, {1280, 720}},
           Row{2560, 1440, 960, {960, 540}},
           Row{1280, 1280, 1280, {1280, 1280}},
           Row{1000, 1000, 1280, {1000, 1000}},
           Row{2560, 1080, 1280, {1280, 540}},
           Row{1281, 3, 1280, {1280, 2}},  // 2.998 rounds to 3
           Row{5000, 1, 1280, {1280, 0}},
           Row{3, 4, 2, {2, 2}},  // 1.5 rounds away from zero
           Row{4, 3, 2, {2, 2}},
           Row{0, 1080, 1280, {1280, 1280}},
           Row{1920, 0, 1280, {1280, 1280}},
           Row{-5, 10, 960, {960, 960}},
           Row{1, 1, 1280, {0, 0}},
           Row{2, 2, 1280, {2, 2}},
       }) {
    EXPECT_EQ(scaledSize(row.width, row.height, row.bound), row.expected)
        << row.width << "x" << row.height << " in " << row.bound;
  }
}

class CaptureEngineTest : public ::testing::Test {
 protected:
  struct Delivery {
    std::shared_ptr<const PixelBuffer> picture;
    PresentationTime time;
    std::int64_t width;
    std::int64_t height;
  };

  CaptureEngineTest() { make(1280, 15); }

  void make(std::int64_t longSide, std::int64_t fps) {
    engine_ = std::make_shared<CaptureEngine>(capture_, longSide, fps, queue_);
    engine_->setPixelBufferHandler(
        [this](const auto& picture, PresentationTime time, std::int64_t width, std::int64_t height) {
          deliveries_.push_back({picture, time, width, height});
          if (onDelivery_) onDelivery_();
        });
    engine_->setErrorHandler([this](const std::string& message) { errors_.push_back(message); });
    engine_->setStartedHandler([this] { ++started_; });
  }

  test::FakeCaptureStream& startCapture() {
    engine_->start();
    queue_->runPending();
    capture_.streams.back()->onStarted({});
    return *capture_.streams.back();
  }

  std::shared_ptr<test::ManualQueue> queue_ = std::make_shared<test::ManualQueue>("tevanto.screen.capture");
  test::FakeDisplayCapture capture_;
  std::shared_ptr<CaptureEngine> engine_;
  std::vector<Delivery> deliveries_;
  std::function<void()> onDelivery_;
  std::vector<std::string> errors_;
  int started_ = 0;
};

TEST_F(CaptureEngineTest, startReturnsAtOnceAndTellsWhenCaptureRuns) {
  engine_->start();
  EXPECT_EQ(capture_.lists, 0);
  queue_->runPending();
  ASSERT_EQ(capture_.streams.size(), 1u);
  EXPECT_EQ(capture_.streams[0]->starts, 1);
  EXPECT_EQ(started_, 0);
  capture_.streams[0]->onStarted({});
  EXPECT_EQ(started_, 1);
  EXPECT_TRUE(errors_.empty());
}

TEST_F(CaptureEngineTest, asksForTheMainDisplayInTheScaledSize) {
  capture_.displays = {{7, 800, 600, false}, {9, 3024, 1964, true}, {11, 640, 480, false}};
  capture_.format = PixelFormat::i420;
  const auto& stream = startCapture();
  EXPECT_EQ(stream.display, 9u);
  EXPECT_EQ(stream.configuration, (CaptureConfiguration{1280, 830, std::chrono::nanoseconds(66'666'667),
                                                        PixelFormat::i420, 5, true}));
  EXPECT_EQ(stream.sampleQueue, queue_);
}

TEST_F(CaptureEngineTest, withoutAMainDisplayTheFirstOneIsCaptured) {
  capture_.displays = {{7, 800, 600, false}, {9, 1920, 1080, false}};
  EXPECT_EQ(startCapture().display, 7u);
}

TEST_F(CaptureEngineTest, saysWhenThereIsNoDisplay) {
  capture_.displays.clear();
  engine_->start();
  queue_->runPending();
  EXPECT_EQ(errors_, std::vector<std::string>{"No display to capture"});
  EXPECT_TRUE(capture_.streams.empty());
}

TEST_F(CaptureEngineTest, everyOtherFailureToStartMeansAMissingPermission) {
  const std::vector<std::string> expected{"Screen recording permission needed"};
  capture_.listFailure = "no";
  engine_->start();
  queue_->runPending();
  EXPECT_EQ(errors_, expected);

  errors_.clear();
  capture_.listFailure.reset();
  capture_.streamFailure = "no";
  make(1280, 15);
  engine_->start();
  queue_->runPending();
  EXPECT_EQ(errors_, expected);

  errors_.clear();
  capture_.streamFailure.reset();
  make(1280, 15);
  engine_->start();
  queue_->runPending();
  capture_.streams.back()->onStarted(Failure{"no"});
  EXPECT_EQ(errors_, expected);
  EXPECT_EQ(started_, 0);
}

TEST_F(CaptureEngineTest, deliversCompletePicturesWithTheOutputSize) {
  auto& stream = startCapture();
  const auto picture = test::fakePicture();
  stream.deliverPicture(5ms, picture);
  EXPECT_TRUE(deliveries_.empty());
  queue_->runPending();
  ASSERT_EQ(deliveries_.size(), 1u);
  EXPECT_EQ(deliveries_[0].picture, picture);
  EXPECT_EQ(deliveries_[0].time, 5ms);
  EXPECT_EQ(deliveries_[0].width, 1280);
  EXPECT_EQ(deliveries_[0].height, 720);
}

TEST_F(CaptureEngineTest, dropsEverySampleThatIsNoCompletePicture) {
  auto& stream = startCapture();
  const auto picture = test::fakePicture();
  stream.deliver({false, SampleType::screen, SampleStatus::complete, picture, 1ms});
  stream.deliver({true, SampleType::audio, SampleStatus::complete, picture, 2ms});
  stream.deliver({true, SampleType::screen, std::nullopt, picture, 3ms});
  stream.deliver({true, SampleType::screen, SampleStatus::idle, picture, 4ms});
  stream.deliver({true, SampleType::screen, SampleStatus::blank, picture, 5ms});
  stream.deliver({true, SampleType::screen, SampleStatus::suspended, picture, 6ms});
  stream.deliver({true, SampleType::screen, SampleStatus::complete, nullptr, 7ms});
  engine_->requestRefresh();
  queue_->runPending();
  EXPECT_TRUE(deliveries_.empty());
  EXPECT_TRUE(errors_.empty());
}

TEST_F(CaptureEngineTest, refreshBeforeAnyPictureDoesNothing) {
  engine_->requestRefresh();
  startCapture();
  engine_->requestRefresh();
  queue_->runPending();
  EXPECT_TRUE(deliveries_.empty());
}

TEST_F(CaptureEngineTest, eachRefreshMovesTheTimeOnByOneFrameInterval) {
  make(1280, 20);
  auto& stream = startCapture();
  const auto picture = test::fakePicture();
  stream.deliverPicture(1000ms, picture);
  engine_->requestRefresh();
  engine_->requestRefresh();
  queue_->runPending();
  ASSERT_EQ(deliveries_.size(), 3u);
  EXPECT_EQ(deliveries_[1].picture, picture);
  EXPECT_EQ(deliveries_[1].time, 1050ms);
  EXPECT_EQ(deliveries_[2].picture, picture);
  EXPECT_EQ(deliveries_[2].time, 1100ms);
  EXPECT_EQ(deliveries_[2].width, 1280);
  stream.deliverPicture(2000ms);
  engine_->requestRefresh();
  queue_->runPending();
  EXPECT_NE(deliveries_.back().picture, picture);
  EXPECT_EQ(deliveries_.back().time, 2050ms);
}

TEST_F(CaptureEngineTest, refreshDoesNotRunWithinTheCall) {
  auto& stream = startCapture();
  stream.deliverPicture(1ms);
  queue_->runPending();
  engine_->requestRefresh();
  EXPECT_EQ(deliveries_.size(), 1u);
}

TEST_F(CaptureEngineTest, saysWhenTheSystemStopsTheCapture) {
  auto& stream = startCapture();
  stream.handlers.onStopped("the display is gone");
  EXPECT_EQ(errors_, std::vector<std::string>{"Screen capture stopped"});
}

TEST_F(CaptureEngineTest, nothingIsCalledAfterStop) {
  auto& stream = startCapture();
  stream.deliverPicture(1ms);
  queue_->runPending();
  engine_->stop();
  EXPECT_EQ(stream.stops, 1);
  stream.deliverPicture(2ms);
  engine_->requestRefresh();
  stream.handlers.onStopped("late");
  stream.onStarted(Failure{"late"});
  stream.onStarted({});
  queue_->runPending();
  EXPECT_EQ(deliveries_.size(), 1u);
  EXPECT_TRUE(errors_.empty());
  EXPECT_EQ(started_, 1);
  engine_->stop();
  EXPECT_EQ(stream.stops, 1);
}

TEST_F(CaptureEngineTest, stopLetsGoOfTheLatestPicture) {
  auto& stream = startCapture();
  std::weak_ptr<const PixelBuffer> weak;
  {
    const auto picture = test::fakePicture();
    weak = picture;
    stream.deliverPicture(1ms, picture);
  }
  queue_->runPending();
  deliveries_.clear();
  EXPECT_FALSE(weak.expired());
  engine_->stop();
  EXPECT_TRUE(weak.expired());
}

TEST_F(CaptureEngineTest, aStopWhileTheDisplaysAreListedStartsNothing) {
  capture_.holdsList = true;
  engine_->start();
  queue_->runPending();
  engine_->stop();
  capture_.heldList(capture_.answer());
  for (const auto& stream : capture_.streams) EXPECT_EQ(stream->starts, 0);
  EXPECT_TRUE(errors_.empty());
  capture_.heldList(Failure{"late"});
  capture_.heldList(std::vector<ShareableDisplay>{});
  EXPECT_TRUE(errors_.empty());
}

TEST_F(CaptureEngineTest, aStopWhileTheStreamIsMadeDoesNotKeepIt) {
  capture_.onMakeStream = [this] { engine_->stop(); };
  engine_->start();
  queue_->runPending();
  ASSERT_EQ(capture_.streams.size(), 1u);
  EXPECT_EQ(capture_.streams[0]->starts, 0);
  EXPECT_EQ(capture_.streams[0].use_count(), 1);
}

TEST_F(CaptureEngineTest, aHandlerMayStopIt) {
  auto& stream = startCapture();
  onDelivery_ = [this] { engine_->stop(); };
  stream.deliverPicture(1ms);
  stream.deliverPicture(2ms);
  queue_->runPending();
  EXPECT_EQ(deliveries_.size(), 1u);
  EXPECT_EQ(stream.stops, 1);
}

TEST_F(CaptureEngineTest, isHeldByNobodyWhileItStarts) {
  capture_.holdsList = true;
  engine_->start();
  const std::weak_ptr<CaptureEngine> weak = engine_;
  engine_.reset();
  EXPECT_TRUE(weak.expired());
  queue_->runPending();
  EXPECT_EQ(capture_.lists, 0);
}

TEST_F(CaptureEngineTest, stopsItsStreamWhenItGoes) {
  auto& stream = startCapture();
  engine_.reset();
  EXPECT_EQ(stream.stops, 1);
  stream.deliverPicture(1ms);
  queue_->runPending();
  EXPECT_TRUE(deliveries_.empty());
}

using CaptureEngineDeathTest = CaptureEngineTest;

TEST_F(CaptureEngineDeathTest, aFrameRateOutsideOf32BitsEndsTheProcess) {
  make(1280, std::numeric_limits<std::int32_t>::max());
  EXPECT_DEATH(make(1280, std::int64_t{1} << 31), "frames per second");
}

}  // namespace
}  // namespace tevanto
