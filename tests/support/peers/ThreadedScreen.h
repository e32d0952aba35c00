#pragma once

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "screen/capture/DisplayCapture.h"
#include "screen/encode/EncoderSession.h"
#include "screen/picture/PixelBufferPool.h"
#include "screen/wire/BigEndian.h"

namespace tevanto::test {

/// A display that changes all the time: its streams deliver from a thread of their own, as fast as they are
/// asked to. What nobody can encode any more is not delivered.
class ThreadedDisplayCapture final : public DisplayCapture {
 public:
  /// How long a stream pauses between two pictures.
  std::chrono::microseconds pause{300};
  std::atomic<int> running = 0;

  void listDisplays(std::function<void(Result<std::vector<ShareableDisplay>>)> done) override {
    std::thread([done = std::move(done)] {
      done(std::vector<ShareableDisplay>{{1, 64, 48, true}});
    }).detach();
  }
  PixelFormat preferredFormat() const override { return PixelFormat::i420; }
  Result<std::shared_ptr<CaptureStream>> makeStream(DisplayID, const CaptureConfiguration& configuration,
                                                    std::shared_ptr<SerialQueue> sampleQueue,
                                                    CaptureStream::Handlers handlers) override {
    return std::shared_ptr<CaptureStream>(std::make_shared<Stream>(
        std::make_shared<Source>(*this, configuration, std::move(sampleQueue), std::move(handlers))));
  }

 private:
  /// What the thread uses; the stream itself may go while it runs, on that very thread.
  struct Source {
    Source(ThreadedDisplayCapture& capture, const CaptureConfiguration& configuration,
           std::shared_ptr<SerialQueue> sampleQueue, CaptureStream::Handlers streamHandlers)
        : owner(capture),
          pool(configuration.pixelFormat, static_cast<int>(configuration.width),
               static_cast<int>(configuration.height), static_cast<std::size_t>(configuration.queueDepth)),
          queue(std::move(sampleQueue)),
          handlers(std::move(streamHandlers)) {
      ++owner.running;
    }
    ~Source() { --owner.running; }

    ThreadedDisplayCapture& owner;
    PixelBufferPool pool;
    const std::shared_ptr<SerialQueue> queue;
    const CaptureStream::Handlers handlers;
    std::atomic<bool> stopped = false;
  };

  static void deliver(const std::shared_ptr<Source>& source, PresentationTime time) {
    auto picture = source->pool.acquire();
    if (!picture) return;
    source->queue->async([source, picture = std::move(picture), time] {
      source->handlers.onSample({true, SampleType::screen, SampleStatus::complete, picture, time});
    });
  }

  class Stream final : public CaptureStream {
   public:
    explicit Stream(std::shared_ptr<Source> source) : source_(std::move(source)) {}
    ~Stream() override { source_->stopped = true; }

    void start(std::function<void(Result<void>)> done) override {
      if (source_->stopped) return;
      std::thread([source = source_, done = std::move(done)] {
        done({});
        for (std::int64_t number = 1; !source->stopped; ++number) {
          deliver(source, PresentationTime(number * 1'000'000));
          std::this_thread::sleep_for(source->owner.pause);
        }
      }).detach();
    }
    void stop(std::function<void(Result<void>)> done) override {
      source_->stopped = true;
      done({});
    }

   private:
    const std::shared_ptr<Source> source_;
  };
};

/// Encodes on a thread of its own: the data of a frame is its number within the session, from 1 on, and
/// padding. A frame that is no key frame needs the one before it.
class ThreadedEncoderFactory final : public EncoderSessionFactory {
 public:
  std::size_t keyframeBytes = 60'000;
  std::size_t deltaBytes = 20'000;
  std::atomic<int> encoded = 0;
  std::atomic<int> sessions = 0;

  Result<std::shared_ptr<EncoderSession>> create(std::int32_t, std::int32_t, VideoCodec) override {
    return std::shared_ptr<EncoderSession>(std::make_shared<Session>(std::make_shared<Worker>(*this)));
  }
  std::string encoderName() const override { return "threaded"; }

 private:
  struct Job {
    std::shared_ptr<const PixelBuffer> picture;
    bool isKeyframe = false;
    EncoderSession::OutputHandler output;
  };

  /// What the thread uses; the session itself may go while it runs, on that very thread.
  struct Worker {
    explicit Worker(ThreadedEncoderFactory& factory) : owner(factory) { ++owner.sessions; }
    ~Worker() { --owner.sessions; }

    void run() {
      for (std::uint32_t number = 1;; ++number) {
        std::unique_lock guard(lock);
        wake.wait(guard, [&] { return invalidated || !jobs.empty(); });
        if (invalidated) return;
        const Job job = std::move(jobs.front());
        jobs.pop_front();
        guard.unlock();
        putOut(job, number);
      }
    }

    void putOut(const Job& job, std::uint32_t number) {
      const auto label = bigEndian(number);
      std::vector<std::byte> data(job.isKeyframe ? owner.keyframeBytes : owner.deltaBytes);
      std::copy(label.begin(), label.end(), data.begin());
      EncodedSample sample;
      sample.attachments = EncodedSample::Attachments{!job.isKeyframe};
      sample.sps = label;
      sample.pps = label;
      sample.data = data;
      ++owner.encoded;
      job.output(EncodeStatus::success, &sample);
    }

    ThreadedEncoderFactory& owner;
    std::mutex lock;
    std::condition_variable wake;
    std::deque<Job> jobs;
    bool invalidated = false;
  };

  class Session final : public EncoderSession {
   public:
    explicit Session(std::shared_ptr<Worker> worker) : worker_(std::move(worker)) {
      std::thread([running = worker_] { running->run(); }).detach();
    }
    ~Session() override { Session::invalidate(); }

    Result<void> setProperty(EncoderProperty, const EncoderPropertyValue&) override { return {}; }
    void prepareToEncodeFrames() override {}
    void encodeFrame(std::shared_ptr<const PixelBuffer> picture, PresentationTime,
                     const EncodeFrameProperties& properties, OutputHandler output) override {
      const std::lock_guard guard(worker_->lock);
      if (worker_->invalidated) return;
      worker_->jobs.push_back({std::move(picture), properties.forceKeyFrame, std::move(output)});
      worker_->wake.notify_one();
    }
    void invalidate() override {
      std::deque<Job> dropped;
      const std::lock_guard guard(worker_->lock);
      worker_->invalidated = true;
      worker_->jobs.swap(dropped);
      worker_->wake.notify_one();
    }

   private:
    const std::shared_ptr<Worker> worker_;
  };
};

}  // namespace tevanto::test
