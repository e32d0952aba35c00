#pragma once

// What the capture engine relies on in the displays of every system. A test program includes this once and
// names the implementations that it has (INSTANTIATE_TEST_SUITE_P).

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "core/queue/EventLoop.h"
#include "screen/capture/DisplayCapture.h"
#include "tests/support/programs/Eventually.h"

namespace tevanto::test {

/// An implementation with the display that it captures.
class CaptureStage {
 public:
  virtual ~CaptureStage() = default;
  virtual DisplayCapture& subject() = 0;
  /// Makes a running stream deliver another picture.
  virtual void change() = 0;
  /// From here on nothing can be captured. Only where the display is the test's own.
  virtual void breakDown() = 0;
};

struct CaptureImplementation {
  const char* name;
  std::function<std::unique_ptr<CaptureStage>()> make;
};

inline void PrintTo(const CaptureImplementation& implementation, std::ostream* out) {
  *out << implementation.name;
}

class DisplayCaptureContract : public ::testing::TestWithParam<CaptureImplementation> {
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
  std::unique_ptr<CaptureStage> stage = GetParam().make();
};

TEST_P(DisplayCaptureContract, listsDisplaysOfWhichOneIsTheMainOne) {
  const auto all = displays();
  ASSERT_TRUE(all);
  const auto mains =
      std::count_if(all.value().begin(), all.value().end(), [](const auto& d) { return d.isMain; });
  EXPECT_EQ(mains, 1);
  for (const auto& display : all.value()) EXPECT_TRUE(display.width > 0 && display.height > 0);
}

/// Of displays that are the test's own.
class DisplayCaptureBreakdown : public DisplayCaptureContract {};
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(DisplayCaptureBreakdown);

TEST_P(DisplayCaptureBreakdown, failsToListWhatCannotBeCaptured) {
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

}  // namespace tevanto::test
