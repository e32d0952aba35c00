#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/peers/RawSocket.h"
#include "tests/support/video/H264TestDecoder.h"

namespace tevanto::test {

/// A phone that mirrors: says hello, reads the screen stream on a thread of its own and decodes it. Reads as
/// slowly as the test says, or not at all.
class MirrorViewer {
 public:
  struct Frame {
    std::size_t bytes = 0;
    bool isKeyframe = false;
  };
  /// On the viewer's thread.
  using OnPicture = std::function<void(const DecodedPicture& picture, const Frame& frame)>;

  /// `bytesPerSecond` 0: as fast as it can.
  MirrorViewer(std::uint16_t port, const std::string& token, OnPicture onPicture, int bytesPerSecond = 0);
  ~MirrorViewer();
  MirrorViewer(const MirrorViewer&) = delete;
  MirrorViewer& operator=(const MirrorViewer&) = delete;

  void pause() { isPaused_ = true; }
  void resume() { isPaused_ = false; }
  void askForKeyframe();

  int pictures() const { return pictures_; }
  int keyframes() const { return keyframes_; }
  /// Frames that could not be decoded.
  int errors() const { return errors_; }
  bool hasEnded() const { return hasEnded_; }
  /// The first few megabytes of what was received, as a file of H.264 with start codes.
  std::string byteStream();

 private:
  void run();
  bool read(std::size_t size, std::string& bytes);
  void take(const std::string& message);
  void takeFrame(const std::string& message);

  const RawSocket socket_;
  const OnPicture onPicture_;
  const int bytesPerSecond_;
  H264TestDecoder decoder_;
  std::chrono::steady_clock::time_point nextRead_;
  std::atomic<bool> isPaused_ = false;
  std::atomic<bool> isEnding_ = false;
  std::atomic<bool> hasEnded_ = false;
  std::atomic<int> pictures_ = 0;
  std::atomic<int> keyframes_ = 0;
  std::atomic<int> errors_ = 0;
  std::mutex mutex_;
  std::string byteStream_;
  std::thread thread_;
};

}  // namespace tevanto::test
