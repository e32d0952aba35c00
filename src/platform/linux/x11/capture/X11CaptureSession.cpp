#include "platform/linux/x11/capture/X11CaptureSession.h"

#include <algorithm>
#include <utility>

namespace tevanto {
namespace {

// A screen that shrinks refuses once or twice, until the news of its size has come.
constexpr int kMostFailures = 30;

PixelRect wholeOf(const XMonitor& monitor) { return {0, 0, monitor.area.width, monitor.area.height}; }

// One buffer is drawn into while the others are in use.
std::size_t poolSize(const CaptureConfiguration& configuration) {
  return static_cast<std::size_t>(std::max(2, configuration.queueDepth));
}

}  // namespace

X11CaptureSession::X11CaptureSession(std::string displayName, DisplayID display,
                                     const CaptureConfiguration& configuration,
                                     std::shared_ptr<SerialQueue> queue, CaptureStream::Handlers handlers)
    : QueueBound(std::move(queue)),
      displayName_(std::move(displayName)),
      configuration_(configuration),
      handlers_(std::move(handlers)),
      display_(display),
      pacer_(std::chrono::duration_cast<FramePacer::Duration>(configuration.minimumFrameInterval)),
      leadTime_(std::chrono::duration_cast<CaptureLeadTime::Duration>(configuration.minimumFrameInterval)) {}

void X11CaptureSession::start(std::function<void(Result<void>)> done) {
  queue()->async([self = shared_from_this(), done = std::move(done)] {
    auto opened = self->open();
    if (!opened) self->close();
    done(std::move(opened));
    if (!self->screen_) return;
    self->pacer_.changed();
    self->service();
    self->watch();
  });
}

void X11CaptureSession::stop(std::function<void(Result<void>)> done) {
  stopped_ = true;
  {
    const std::lock_guard lock(screenLock_);
    if (screen_) screen_->interrupt();
  }
  queue()->async([self = shared_from_this(), done = std::move(done)] {
    self->close();
    done({});
  });
}

Result<void> X11CaptureSession::open() {
  if (stopped_) return Failure{"The capture was stopped."};
  auto screen = XCaptureConnection::connect(displayName_);
  if (!screen) return Failure{screen.error()};
  {
    const std::lock_guard lock(screenLock_);
    screen_ = std::move(screen).value();
  }
  if (stopped_) return Failure{"The capture was stopped."};
  if (auto subscribed = screen_->subscribe(); !subscribed) return subscribed;
  pool_ =
      std::make_unique<PixelBufferPool>(configuration_.pixelFormat, static_cast<int>(configuration_.width),
                                        static_cast<int>(configuration_.height), poolSize(configuration_));
  if (!useMonitors(screen_->monitors())) return Failure{"There is no display."};
  return {};
}

// The display asked for, the main one when it is gone; false when there is none.
bool X11CaptureSession::useMonitors(const std::vector<XMonitor>& monitors) {
  const auto find = [&](auto condition) { return std::find_if(monitors.begin(), monitors.end(), condition); };
  auto found = find([this](const auto& monitor) { return monitor.display.id == display_; });
  if (found == monitors.end()) found = find([](const auto& monitor) { return monitor.display.isMain; });
  if (found == monitors.end()) return false;
  display_ = found->display.id;
  if (!monitor_ || monitor_->area != found->area) useMonitor(*found);
  return true;
}

void X11CaptureSession::useMonitor(const XMonitor& monitor) {
  const auto whole = wholeOf(monitor);
  monitor_ = monitor;
  prepared_.reset();
  image_.reset();
  image_ = std::make_unique<XScreenImage>(screen_, monitor.area);
  scaler_ =
      std::make_unique<ParallelScaler>(whole.width, whole.height, static_cast<int>(configuration_.width),
                                       static_cast<int>(configuration_.height));
  if (history_) {
    history_->restart(whole);
  } else {
    history_.emplace(whole);
  }
  unread_.clear();
  unread_.add(whole);
  unshown_ = unread_;
}

void X11CaptureSession::watch() {
  if (!screen_) return;
  if (!watch_) watch_ = std::make_unique<DescriptorWatch>(*queue(), xcb_get_file_descriptor(screen_->xcb()));
  watch_->whenReadable(weakCall(&X11CaptureSession::handleEvents));
}

void X11CaptureSession::handleEvents() {
  service();
  watch();
}

// Answers come by the same socket as events: after whatever waited for one, events may already have been
// read, and nobody else would look for them.
void X11CaptureSession::service() {
  assertOnQueue();
  while (screen_ && !stopped_) {
    handleChanges(screen_->readEvents());
    if (screen_->broken()) return fail("The X server is gone.");
    const auto wait = pacer_.wait(queue()->now());
    if (!wait) return;
    const auto lead = isPrepared_ ? CaptureLeadTime::Duration::zero() : leadTime_.length();
    if (*wait > lead) return wakeAfter(*wait - lead);
    if (*wait > FramePacer::Duration::zero()) {
      prepare();
    } else {
      capturePicture();
    }
  }
}

void X11CaptureSession::wakeAfter(FramePacer::Duration wait) {
  if (timer_) return;
  timer_ = queue()->asyncAfter(wait, weakCall([](X11CaptureSession& self) {
                                 self.timer_.cancel();
                                 self.service();
                               }));
}

void X11CaptureSession::handleChanges(const XCaptureConnection::Changes& changes) {
  if (changes.any()) {
    pacer_.changed();
    isRead_ = false;
  }
  pointerStale_ = pointerStale_ || changes.pointerShape;
  layoutStale_ = layoutStale_ || changes.layout;
}

// What fails here is tried again when the picture is due.
void X11CaptureSession::prepare() {
  isPrepared_ = true;
  if (layoutStale_) return;
  const auto began = queue()->now();
  isRead_ = readScreen();
  if (!isRead_ || unshown_.empty()) return;
  const auto region = outputBounds();
  prepared_ = drawPicture(region);
  leadTime_.drew(queue()->now() - began, isLarge(region));
}

void X11CaptureSession::capturePicture() {
  pacer_.beginPicture();
  pictureBegan_ = queue()->now();
  isPrepared_ = false;
  if (layoutStale_ && !updateLayout()) return;
  if (!std::exchange(isRead_, false) && !readScreen()) return readingFailed();
  failures_ = 0;
  if (unshown_.empty() && !prepared_) return;
  if (auto picture = finishPicture()) {
    pacer_.delivered(pictureBegan_);
    deliver(std::move(picture));
  } else {
    // All buffers are in use: the consumer is behind, and gets this change when it has caught up.
    pacer_.postponed(pictureBegan_);
  }
}

bool X11CaptureSession::updateLayout() {
  layoutStale_ = false;
  const auto monitors = screen_->monitors();
  if (screen_->broken()) return true;  // what comes next notices
  if (useMonitors(monitors)) return true;
  fail("No display is left.");
  return false;
}

bool X11CaptureSession::readScreen() {
  const auto activity = screen_->takeActivity();
  return activity && readRows(*activity) && (movePointer(*activity), true);
}

bool X11CaptureSession::readRows(const XCaptureConnection::Activity& activity) {
  const auto& area = monitor_->area;
  for (auto rect : activity.drawn) {
    rect.x -= area.x;
    rect.y -= area.y;
    const auto visible = intersection(rect, wholeOf(*monitor_));
    unread_.add(visible);
    unshown_.add(visible);
  }
  if (!image_->read(unread_)) return false;
  unread_.clear();
  return true;
}

// The pointer changes the picture where it was and where it is.
void X11CaptureSession::movePointer(const XCaptureConnection::Activity& activity) {
  if (!configuration_.showsCursor) return;
  if (!pointerStale_ && activity.pointer == pointer_) return;
  const auto add = [this] {
    if (const auto area = pointerArea()) unshown_.add(*area);
  };
  add();
  pointer_ = activity.pointer;
  if (std::exchange(pointerStale_, false)) pointerImage_ = XPointerImage::fetch(*screen_);
  add();
}

std::optional<PixelRect> X11CaptureSession::pointerArea() const {
  if (!pointer_ || !pointerImage_) return std::nullopt;
  const auto area = pointerImage_->area(pointer_->x - monitor_->area.x, pointer_->y - monitor_->area.y);
  return intersection(area, wholeOf(*monitor_));
}

// The screen may have changed its shape a moment ago; what was drawn by now is asked for with the next
// picture.
void X11CaptureSession::readingFailed() {
  if (screen_->broken()) return;
  if (++failures_ > kMostFailures) return fail("The X server does not give its pixels away.");
  layoutStale_ = true;
  pacer_.postponed(pictureBegan_);
}

std::shared_ptr<PixelBuffer> X11CaptureSession::finishPicture() {
  const auto region = outputBounds();
  if (prepared_) {
    leadTime_.ended(isLarge(region));
    return unshown_.empty() ? std::exchange(prepared_, nullptr) : drawPicture(region);
  }
  auto picture = drawPicture(region);
  leadTime_.drew(queue()->now() - pictureBegan_, isLarge(region));
  return picture;
}

// Nobody has seen a picture that is only prepared: what is drawn over it belongs to the same step from the
// picture before.
std::shared_ptr<PixelBuffer> X11CaptureSession::drawPicture(const PixelRect& region) {
  const bool isBegun = prepared_ != nullptr;
  auto buffer = isBegun ? std::exchange(prepared_, nullptr) : pool_->acquire();
  if (!buffer) return nullptr;
  const auto held = buffer->change;
  const auto number = history_->add(std::exchange(unshown_, {}));
  render(*buffer, history_->since(held.picture));
  if (isBegun) {
    buffer->change = {number, held.previous, bounds(held.region, region)};
  } else {
    buffer->change = {number, history_->continues() ? number - 1 : 0, region};
  }
  return buffer;
}

void X11CaptureSession::render(PixelBuffer& buffer, const ChangedArea& area) {
  const auto whole = wholeOf(*monitor_);
  const auto viewport = scaler_->viewport();
  const bool bars = viewport.width != buffer.width() || viewport.height != buffer.height();
  if (bars && area.bounds() == whole) PictureScaler::clear(buffer);
  auto* pixels = image_->pixels();
  const auto stride = image_->stride();
  const bool pointer = pointer_ && pointerImage_;
  if (pointer) {
    pointerImage_->draw(pixels, stride, whole, pointer_->x - monitor_->area.x,
                        pointer_->y - monitor_->area.y);
  }
  for (const auto& rect : area.rects()) scaler_->draw(pixels, stride, scaler_->outputOf(rect), buffer);
  if (pointer) pointerImage_->erase(pixels, stride);
}

PixelRect X11CaptureSession::outputBounds() const {
  PixelRect all;
  for (const auto& rect : unshown_.rects()) all = bounds(all, scaler_->outputOf(rect));
  return all;
}

/// A quarter of the picture or more.
bool X11CaptureSession::isLarge(const PixelRect& part) const {
  return 4 * std::int64_t{part.width} * part.height >= configuration_.width * configuration_.height;
}

void X11CaptureSession::deliver(std::shared_ptr<const PixelBuffer> picture) {
  const auto now = std::chrono::duration_cast<PresentationTime>(pictureBegan_.time_since_epoch());
  lastTime_ = std::max(now, lastTime_ + PresentationTime(1));
  if (handlers_.onSample && !stopped_) {
    handlers_.onSample({true, SampleType::screen, SampleStatus::complete, std::move(picture), lastTime_});
  }
}

void X11CaptureSession::fail(const std::string& reason) {
  close();
  if (!stopped_.exchange(true) && handlers_.onStopped) handlers_.onStopped(reason);
}

void X11CaptureSession::close() {
  timer_.cancel();
  watch_.reset();
  prepared_.reset();
  scaler_.reset();  // and its thread
  image_.reset();
  pool_.reset();
  std::shared_ptr<XCaptureConnection> screen;  // closed outside the lock
  const std::lock_guard lock(screenLock_);
  screen.swap(screen_);
}

}  // namespace tevanto
