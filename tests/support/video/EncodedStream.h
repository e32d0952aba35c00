#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

#include "screen/encode/EncoderSession.h"
#include "tests/support/peers/ScreenBytes.h"
#include "tests/support/programs/Eventually.h"

namespace tevanto::test {

/// What a session put out for one picture.
struct EncodedFrame {
  PresentationTime time{0};
  EncodeStatus status = EncodeStatus::failure;
  bool hasSample = false;
  bool isKeyFrame = false;
  std::optional<Bytes> sps;
  std::optional<Bytes> pps;
  Bytes data;
  std::optional<bool> isFinest;
};

/// The properties that a streaming session asks of its encoder.
inline std::vector<std::pair<EncoderProperty, EncoderPropertyValue>> streamProperties(std::int64_t bitRate,
                                                                                      std::int64_t fps) {
  return {{EncoderProperty::realTime, true},
          {EncoderProperty::profileLevel, EncoderProfileLevel::h264MainAutoLevel},
          {EncoderProperty::allowFrameReordering, false},
          {EncoderProperty::maxKeyFrameInterval, 4 * fps},
          {EncoderProperty::maxKeyFrameIntervalDuration, std::int64_t{4}},
          {EncoderProperty::averageBitRate, bitRate},
          {EncoderProperty::dataRateLimits, DataRateLimit{bitRate / 8 * 3 / 2, std::chrono::seconds(1)}},
          {EncoderProperty::expectedFrameRate, fps}};
}

/// The time of encoders whose output an EncodedStream keeps: that of the picture under way. Outlives them.
class EncoderClock {
 public:
  std::function<std::chrono::nanoseconds()> reader() const {
    return [this] { return now; };
  }
  std::chrono::nanoseconds now{0};
};

/// A session whose output the test keeps. Each picture comes at its own time by `clock`, if there is one.
class EncodedStream {
 private:
  struct Kept {
    std::mutex mutex;
    std::vector<EncodedFrame> frames;
  };
  const std::shared_ptr<Kept> kept_ = std::make_shared<Kept>();  // a late output may outlive the stream

 public:
  explicit EncodedStream(std::shared_ptr<EncoderSession> session, EncoderClock* clock = nullptr)
      : session_(std::move(session)), clock_(clock) {}

  EncoderSession& session() { return *session_; }
  void prepare(std::int64_t bitRate = 6'000'000, std::int64_t fps = 15) {
    for (const auto& [property, value] : streamProperties(bitRate, fps)) {
      if (!session_->setProperty(property, value)) ++refusedProperties;
    }
    session_->prepareToEncodeFrames();
  }
  void encode(std::shared_ptr<const PixelBuffer> picture, PresentationTime time, bool forceKeyFrame = false) {
    if (clock_) clock_->now = time;
    session_->encodeFrame(std::move(picture), time, {forceKeyFrame},
                          [kept = kept_, time](EncodeStatus status, const EncodedSample* sample) {
                            EncodedFrame frame{time, status, sample != nullptr, false, {}, {}, {}, {}};
                            if (sample) keep(frame, *sample);
                            const std::lock_guard lock(kept->mutex);
                            kept->frames.push_back(std::move(frame));
                          });
  }
  /// Waits until so many pictures have come out: a session may put them out on a thread of its own.
  bool hasPutOut(std::size_t count) const {
    return eventually([&] {
      const std::lock_guard lock(kept_->mutex);
      return kept_->frames.size() >= count;
    });
  }

  /// The most bytes within one second that ends with a frame.
  std::int64_t largestSecond() const {
    std::int64_t largest = 0;
    for (std::size_t last = 0; last < frames.size(); ++last) {
      std::int64_t sum = 0;
      for (std::size_t i = 0; i <= last; ++i) {
        const bool isWithin = frames[i].time > frames[last].time - std::chrono::seconds(1);
        if (isWithin) sum += static_cast<std::int64_t>(frames[i].data.size());
      }
      largest = std::max(largest, sum);
    }
    return largest;
  }

  /// To be looked at once all that is under way has come out.
  std::vector<EncodedFrame>& frames = kept_->frames;
  int refusedProperties = 0;

 private:
  static void keep(EncodedFrame& frame, const EncodedSample& sample) {
    frame.isKeyFrame = !(sample.attachments && sample.attachments->notSync.value_or(false));
    if (sample.sps) frame.sps = copyOf(*sample.sps);
    if (sample.pps) frame.pps = copyOf(*sample.pps);
    if (sample.data) frame.data = copyOf(*sample.data);
    frame.isFinest = sample.isFinest;
  }

  std::shared_ptr<EncoderSession> session_;
  EncoderClock* clock_;
};

}  // namespace tevanto::test
