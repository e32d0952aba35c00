#include "phone/terminal/Mirror.h"

#include <poll.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>

#include "phone/connection/PhoneSession.h"
#include "phone/mirror/ByteStreamRecorder.h"
#include "phone/terminal/PhoneOutput.h"
#include "phone/terminal/RawTerminal.h"
#include "remote/message/RemoteMessageCodec.h"
#include "screen/wire/ScreenStreamHello.h"
#include "screen/wire/ScreenStreamMessage.h"

namespace tevanto::phone {
namespace {

// The size of the view that the hello tells; the picture does not depend on it.
constexpr std::int64_t kViewWidth = 1280;
constexpr std::int64_t kViewHeight = 720;

/// The window's library has no descriptor to wait for; often enough for the hand to feel no delay.
constexpr auto kWindowPeriod = std::chrono::milliseconds(8);

using Clock = std::chrono::steady_clock;

Trouble notDone(const std::string& why) { return {ExitCode::notDone, why}; }

}  // namespace

Mirror::Mirror(std::unique_ptr<ScreenChannel> screen, MirrorMedia& media, PhoneOutput& output,
               MirrorSettings settings, std::chrono::milliseconds timeout, PhoneSession* control)
    : screen_(std::move(screen)),
      media_(media),
      output_(output),
      settings_(std::move(settings)),
      timeout_(timeout),
      control_(control),
      statistics_(Clock::now()),
      start_(Clock::now()),
      nextStatistics_(start_ + MirrorStatistics::kWindow) {}

Answer<bool> Mirror::run(const std::string& token, bool isTerminal) {
  isTerminal_ = isTerminal;
  token_ = token;
  const EndSignals signals;
  signals_ = signals.descriptor();
  if (auto prepared = prepare(); !prepared) return prepared;
  const auto mirrored = mirror();
  const auto finished = finish();
  return mirrored ? finished : mirrored;
}

Answer<bool> Mirror::prepare() {
  auto decoder = media_.makeDecoder();
  if (!decoder) return notDone(decoder.error());
  decoder_ = std::move(decoder).value();
  if (auto recording = startRecording(); !recording) return recording;
  if (settings_.view) {
    auto window = media_.openWindow("Tevanto");
    if (!window) return notDone(window.error());
    window_ = std::move(window).value();
  }
  stream_ = std::make_unique<MirrorStream>(
      *decoder_,
      MirrorStream::Outlets{
          .askForKeyFrame = [this] { askForKeyFrame(); },
          .onFrame = [this](const auto& frame, const auto& picture) { handleFrame(frame, picture); },
          .onDropped = [this] { statistics_.dropped(); }});
  return true;
}

Answer<bool> Mirror::startRecording() {
  if (settings_.out.empty()) return true;
  auto recorder = settings_.out.extension() == ".mp4" ? media_.recordMp4(settings_.out)
                                                      : ByteStreamRecorder::create(settings_.out);
  if (!recorder) return notDone(recorder.error());
  recorder_ = std::move(recorder).value();
  return true;
}

Answer<bool> Mirror::mirror() {
  if (auto greeted = sendHello(); !greeted) return greeted;
  while (!isEnded_ && !isOver(Clock::now())) {
    if (auto waited = wait(); !waited) return waited;
    if (auto worked = work(); !worked) return worked;
  }
  return true;
}

Answer<bool> Mirror::sendHello() {
  statistics_.asked(Clock::now());
  if (screen_->send(helloMessage({token_, kViewWidth, kViewHeight, settings_.lowBandwidth}))) return true;
  return Trouble{ExitCode::connectionLost, "The companion closed the connection."};
}

/// Calls until the companion answers: whoever is away expects their network to go and come.
Answer<bool> Mirror::comeBack() {
  output_.warning("The connection is lost; calling again.");
  while (!wasEnded()) {
    auto screen = return_([this] { return wasEnded(); });
    if (!screen && screen.trouble().code == ExitCode::refused) return screen.trouble();
    if (!screen) continue;
    screen_ = std::move(*screen);
    if (sendHello()) return true;
  }
  return true;
}

/// Whether the user has ended it meanwhile, or the time is over.
bool Mirror::wasEnded() {
  pollfd signals{signals_, POLLIN, 0};
  isEnded_ = isEnded_ || ::poll(&signals, 1, 0) > 0;
  if (window_) {
    (void)gestures_.handle(window_->takeEvents());  // there is nobody to send them to
    isEnded_ = isEnded_ || gestures_.wantsToClose();
  }
  return isEnded_ || isOver(Clock::now());
}

Answer<bool> Mirror::wait() {
  const auto now = Clock::now();
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(nextWake(now) - now);
  std::array<pollfd, 3> waits = {{{screen_->descriptor(), POLLIN, 0},
                                  {signals_, POLLIN, 0},
                                  {control_ ? control_->channel().descriptor() : -1, POLLIN, 0}}};
  const auto period = static_cast<int>(std::max<std::int64_t>(left.count(), 0));
  if (::poll(waits.data(), waits.size(), period) < 0) {
    return errno == EINTR ? Answer<bool>(true) : notDone("poll failed");
  }
  if (waits[1].revents) isEnded_ = true;
  if (waits[2].revents) {
    if (auto read = readReplies(); !read) return read;
  }
  if (waits[0].revents) return receive();
  return true;
}

Answer<bool> Mirror::receive() {
  const auto before = screen_->receivedBytes();
  const auto received = screen_->receive([this](std::span<const std::byte> message) {
    heardAnything_ = true;
    stream_->onMessage(message, Clock::now());
  });
  statistics_.received(screen_->receivedBytes() - before, Clock::now());
  if (trouble_) return *trouble_;
  if (received == ScreenChannel::Received::open || isOver(Clock::now())) return true;
  if (return_) return comeBack();
  if (heardAnything_) {
    return Trouble{ExitCode::connectionLost,
                   "The companion closed the connection. Another phone may have taken its place."};
  }
  return Trouble{
      ExitCode::refused,
      "Refused: the companion closed the connection without a picture. This phone is not paired, or "
      "another one took its place: run `tevanto-phone pair CODE`; the code is shown by `tevanto "
      "status`."};
}

/// Everything that is due besides what arrives.
Answer<bool> Mirror::work() {
  const auto now = Clock::now();
  if (!firstPicture_ && now - start_ >= timeout_) {
    return Trouble{
        ExitCode::connectionLost,
        "No picture came in time. `tevanto status` on the computer says why; --timeout waits longer."};
  }
  if (settings_.stats && now >= nextStatistics_) showStatistics(now);
  if (!window_) return true;
  for (const auto& command : gestures_.handle(window_->takeEvents())) {
    if (auto sent = control_->send(command); !sent && !return_) return sent;
  }
  isEnded_ = isEnded_ || gestures_.wantsToClose();
  return true;
}

Answer<bool> Mirror::readReplies() {
  std::string line;
  while (true) {
    const auto received = control_->channel().receive(line, Clock::now());
    if (received == LineChannel::Received::nothingYet) return true;
    if (received == LineChannel::Received::closed) {
      if (return_) return comeBack();
      return Trouble{ExitCode::connectionLost, "The companion closed the control connection."};
    }
    const auto reply = decodeRemoteMessage(line);
    if (!reply || reply->type != "ack" || reply->ok.value_or(false)) continue;
    if (auto refused = refusal(*reply).message; refused != complaint_) {
      complaint_ = std::move(refused);
      output_.warning(complaint_);
    }
  }
}

void Mirror::handleFrame(const ReceivedFrame& frame, const std::optional<DecodedPicture>& picture) {
  const auto now = Clock::now();
  statistics_.decoded(frame.isKeyframe, frame.time, now);
  record(frame);
  if (!picture) return;
  statistics_.shown(picture->width, picture->height);
  lastPicture_ = picture;
  if (window_) window_->show(*picture);
  if (std::exchange(firstPicture_, firstPicture_ ? firstPicture_ : now)) return;
  if (settings_.duration || settings_.snapshot.empty()) return;
  if (auto written = writeSnapshot(); !written) trouble_ = written.trouble();
}

void Mirror::record(const ReceivedFrame& frame) {
  if (!recorder_ || trouble_) return;
  if (auto written = recorder_->write(frame); !written) trouble_ = notDone(written.error());
}

void Mirror::showStatistics(Time now) {
  output_.mirror(statistics_.report(now),
                 isTerminal_ ? PhoneOutput::Moment::nowOnTerminal : PhoneOutput::Moment::now);
  while (nextStatistics_ <= now) nextStatistics_ += MirrorStatistics::kWindow;
  if (statistics_.isDelayOld(now)) askForKeyFrame();
}

void Mirror::askForKeyFrame() {
  statistics_.asked(Clock::now());
  (void)screen_->send(screenMessage(ScreenMessageType::keyframeRequest));
}

Answer<bool> Mirror::finish() {
  (void)screen_->send(screenMessage(ScreenMessageType::stop));
  if (control_) {
    for (const auto& command : gestures_.finish()) (void)control_->send(command);
  }
  window_.reset();
  const auto now = Clock::now();
  if (firstPicture_ && recorder_) {
    if (auto finished = recorder_->finish(now); !finished) return notDone(finished.error());
  }
  if (lastPicture_ && settings_.duration && !settings_.snapshot.empty()) {
    if (auto written = writeSnapshot(); !written) return written;
  }
  if (firstPicture_) output_.mirror(statistics_.report(now), PhoneOutput::Moment::end);
  return true;
}

Answer<bool> Mirror::writeSnapshot() {
  const auto written = media_.writePng(*lastPicture_, settings_.snapshot);
  if (!written) return notDone(written.error());
  return true;
}

bool Mirror::isOver(Time now) const {
  if (!firstPicture_) return false;
  if (settings_.duration) return now - *firstPicture_ >= *settings_.duration;
  const bool isSnapshotAll = !settings_.view && settings_.out.empty() && !settings_.stats;
  return isSnapshotAll;
}

Mirror::Time Mirror::nextWake(Time now) const {
  auto next = now + std::chrono::hours(1);
  if (!firstPicture_) next = std::min<Time>(next, start_ + timeout_);
  if (firstPicture_ && settings_.duration) next = std::min<Time>(next, *firstPicture_ + *settings_.duration);
  if (settings_.stats) next = std::min(next, nextStatistics_);
  if (window_) next = std::min<Time>(next, now + kWindowPeriod);
  return next;
}

}  // namespace tevanto::phone
