#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <optional>
#include <span>
#include <vector>

#include "phone/mirror/StreamRecorder.h"
#include "phone/mirror/VideoDecoder.h"

namespace tevanto::phone {

/// MirrorStream turns the messages of the screen stream into pictures. It begins with a key frame that
/// follows its parameter sets. After a frame that cannot be decoded it shows nothing until the next key
/// frame, which it asks for.
///
///     waiting --key frame, decoded--> showing --cannot be decoded--> waiting (asks; again every second)
class MirrorStream {
 public:
  using Time = std::chrono::steady_clock::time_point;
  /// How long an answer may take before it is asked again.
  static constexpr auto kTimeout = std::chrono::seconds(1);
  /// So many frames in a row may give no picture before the decoder counts as stuck.
  static constexpr int kMostHeldBack = 4;

  /// Outlets holds the callbacks of a stream.
  struct Outlets {
    std::function<void()> askForKeyFrame;
    /// Each frame that was decoded, and its picture, unless the decoder held that back. The spans are valid
    /// during the call only.
    std::function<void(const ReceivedFrame& frame, const std::optional<DecodedPicture>& picture)> onFrame;
    /// A frame came that is not shown.
    std::function<void()> onDropped;
  };

  MirrorStream(VideoDecoder& decoder, Outlets outlets) : decoder_(decoder), outlets_(std::move(outlets)) {}

  void onMessage(std::span<const std::byte> message, Time now);

 private:
  void handleParameterSets(std::span<const std::byte> body);
  void handleFrame(std::span<const std::byte> body, Time now);
  bool assemble(std::span<const std::byte> data, bool isKeyframe);
  void reportDropped();
  void loseTrack(Time now);
  void ask(Time now);

  VideoDecoder& decoder_;
  const Outlets outlets_;
  std::vector<std::byte> sps_;
  std::vector<std::byte> pps_;
  std::vector<std::byte> byteStream_;  // of the frame at hand
  bool isWaiting_ = true;
  int width_ = 0;  // of the last picture
  int height_ = 0;
  int heldBack_ = 0;
  std::optional<Time> asked_;
};

}  // namespace tevanto::phone
