#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "phone/connection/Answer.h"
#include "phone/connection/Endpoint.h"
#include "phone/connection/Route.h"
#include "phone/mirror/MirrorMedia.h"
#include "phone/mirror/MirrorStatistics.h"
#include "phone/mirror/MirrorStream.h"
#include "phone/mirror/WindowGestures.h"

namespace tevanto::phone {

class PhoneOutput;
class PhoneSession;

/// MirrorSettings chooses the uses of the pictures.
struct MirrorSettings {
  bool view = false;                    // in a window that controls the computer
  std::filesystem::path out = {};       // a recording; ".mp4", or ".h264" for the bare stream
  std::filesystem::path snapshot = {};  // PNG: the first picture, or with `duration` the last
  std::optional<std::chrono::milliseconds> duration =
      {};  // from the first picture on; else until it is ended
  bool lowBandwidth = false;
  bool stats = false;
  std::optional<Endpoint> screenHost = {};
};

/// Mirrors the companion's screen until the time is over, the user ends it, or the connection does. Whatever
/// ends it, what was recorded until then is playable.
class Mirror {
 public:
  /// `control` takes what is done in the window; null without one.
  Mirror(std::unique_ptr<ScreenChannel> screen, MirrorMedia& media, PhoneOutput& output,
         MirrorSettings settings, std::chrono::milliseconds timeout, PhoneSession* control);

  /// How a lost connection is made again. Without it, the loss is the end.
  using Return = std::function<Answer<std::unique_ptr<ScreenChannel>>(const GivesUp& givesUp)>;
  void setReturn(Return comeBack) { return_ = std::move(comeBack); }

  Answer<bool> run(const std::string& token, bool isTerminal);

 private:
  using Time = std::chrono::steady_clock::time_point;

  Answer<bool> prepare();
  Answer<bool> startRecording();
  Answer<bool> mirror();
  Answer<bool> sendHello();
  Answer<bool> comeBack();
  bool wasEnded();
  Answer<bool> wait();
  Answer<bool> receive();
  Answer<bool> work();
  Answer<bool> readReplies();
  void handleFrame(const ReceivedFrame& frame, const std::optional<DecodedPicture>& picture);
  void record(const ReceivedFrame& frame);
  void showStatistics(Time now);
  void askForKeyFrame();
  Answer<bool> finish();
  Answer<bool> writeSnapshot();
  bool isOver(Time now) const;
  Time nextWake(Time now) const;

  std::unique_ptr<ScreenChannel> screen_;
  MirrorMedia& media_;
  PhoneOutput& output_;
  const MirrorSettings settings_;
  const std::chrono::milliseconds timeout_;
  PhoneSession* const control_;
  std::unique_ptr<VideoDecoder> decoder_;
  std::unique_ptr<StreamRecorder> recorder_;
  std::unique_ptr<MirrorWindow> window_;
  std::unique_ptr<MirrorStream> stream_;
  WindowGestures gestures_;
  MirrorStatistics statistics_;
  const Time start_;
  Time nextStatistics_;
  std::optional<Time> firstPicture_;
  std::optional<DecodedPicture> lastPicture_;
  Return return_;
  std::string token_;
  int signals_ = -1;                // readable when the user ends it
  std::optional<Trouble> trouble_;  // that came up where it could not be returned
  std::string complaint_;           // of the companion about what was done in the window
  bool heardAnything_ = false;
  bool isTerminal_ = false;
  bool isEnded_ = false;
};

}  // namespace tevanto::phone
