#include "platform/linux/x11/input/XTestInputEvents.h"

#include <chrono>
#include <deque>
#include <optional>
#include <utility>
#include <variant>

#include "core/queue/SerialQueue.h"
#include "platform/linux/x11/ReconnectingXServer.h"
#include "platform/linux/x11/XInputConnection.h"
#include "platform/linux/x11/input/HeldInput.h"
#include "platform/linux/x11/input/XKeyboard.h"
#include "platform/linux/x11/input/XTestKeyboard.h"
#include "platform/linux/x11/input/XTestPointer.h"
#include "platform/linux/x11/input/XTestText.h"

namespace tevanto {
namespace {

// How long nothing may be typed before the borrowed key codes are given back: clients of a busy desktop ask
// for the keymap late, and find nothing then.
constexpr auto kGiveBackAfter = SpareKeyPool::kRest;

// Motions closer together than this have arrived in one read.
constexpr auto kBurst = std::chrono::microseconds(200);

using Text = std::u32string;
struct Key {
  KeyEvent event;
};
struct Button {
  int number = 0;
  bool down = false;
};
struct Media {
  MediaKey key{};
  KeyDirection direction{};
};
using Work = std::variant<Text, Key, Button, ScrollEvent, Media, PointerPosition::Step>;

/// Appends UTF-16 that holds whole characters; an unpaired surrogate is left out.
void append(Text& text, std::u16string_view units) {
  for (std::size_t i = 0; i < units.size(); ++i) {
    const char32_t unit = units[i];
    if (unit < 0xd800 || unit > 0xdfff) {
      text.push_back(unit);
    } else if (unit < 0xdc00 && i + 1 < units.size() && units[i + 1] >= 0xdc00 && units[i + 1] <= 0xdfff) {
      text.push_back(0x10000 + ((unit - 0xd800) << 10) + (units[++i] - 0xdc00u));
    }
  }
}

std::optional<Button> buttonOf(const MouseEvent& event) {
  switch (event.type) {
    case MouseEventType::leftDown:
    case MouseEventType::rightDown:
      return Button{event.button, true};
    case MouseEventType::leftUp:
    case MouseEventType::rightUp:
      return Button{event.button, false};
    case MouseEventType::moved:
    case MouseEventType::leftDragged:
      return std::nullopt;
  }
  return std::nullopt;
}

}  // namespace

/// Everything that is bound to one connection; the parts end before what they use.
struct XTestInputEvents::Session {
  Session(std::shared_ptr<XInputConnection> connection, const std::shared_ptr<SerialQueue>& queue,
          const Logger& log, std::uint64_t number)
      : generation(number),
        x(std::move(connection)),
        held(x, log),
        keyboard(x),
        pointer(x, held, queue),
        keys(x, held, keyboard),
        text(x, held, keyboard, queue, log) {}

  const std::uint64_t generation;
  const std::shared_ptr<XInputConnection> x;
  HeldInput held;
  XKeyboard keyboard;
  XTestPointer pointer;
  XTestKeyboard keys;
  XTestText text;
};

/// The order of what is posted, and the connection of the moment.
class XTestInputEvents::Stream : public std::enable_shared_from_this<Stream> {
 public:
  Stream(std::shared_ptr<ReconnectingXServer> link, std::shared_ptr<SerialQueue> queue,
         CommandModifierSource commandModifier, Logger log)
      : link_(std::move(link)),
        queue_(std::move(queue)),
        commandModifier_(std::move(commandModifier)),
        log_(std::move(log)) {}

  Session* session() {
    if (session_ && session_->generation == link_->generation() && !session_->x->broken())
      return session_.get();
    return renewSession();
  }

  /// Does it now, or once the text in front of it is typed.
  bool post(Work work) {
    auto* current = session();
    if (!current) return false;
    if (waiting_.empty()) return perform(*current, work) && current->x->flush();
    enqueue(std::move(work));
    return true;
  }

  bool type(std::u16string_view units) {
    if (!session()) return false;
    if (waiting_.empty() || !std::holds_alternative<Text>(waiting_.back())) enqueue(Text());
    append(std::get<Text>(waiting_.back()), units);
    if (!pumping_) pump();
    return true;
  }

  void warp(PointerLocation target) {
    auto* current = session();
    if (!current) return;
    const auto step = current->pointer.stepTo(target);
    if (step == PointerPosition::Step{}) return;
    if (waitingButtons_ > 0) {
      enqueue(step);
    } else {
      current->pointer.move(step);
      flushMotion(*current);
    }
  }

  void stop() {
    pumpTimer_.cancel();
    restTimer_.cancel();
    waiting_.clear();
    session_.reset();
  }

 private:
  /// Motion at a finger's pace goes out at once; a burst that arrived together goes out together, at the end
  /// of the queue's turn, for one system call instead of one for each.
  void flushMotion(Session& current) {
    const auto now = queue_->now();
    if (now - std::exchange(lastMotion_, now) > kBurst) {
      current.x->flush();
    } else if (!std::exchange(flushPosted_, true)) {
      queue_->async([weak = weak_from_this()] {
        if (auto alive = weak.lock()) alive->flushNow();
      });
    }
  }

  void flushNow() {
    flushPosted_ = false;
    if (session_) session_->x->flush();
  }

  Session* renewSession() {
    waiting_.clear();
    waitingButtons_ = 0;
    typed_ = 0;
    pumping_ = false;
    pumpTimer_.cancel();
    restTimer_.cancel();
    session_.reset();
    auto connection = link_->connection();
    if (connection)
      session_ = std::make_unique<Session>(std::move(connection), queue_, log_, link_->generation());
    return session_.get();
  }

  void enqueue(Work work) {
    if (std::holds_alternative<Button>(work)) ++waitingButtons_;
    auto* step = std::get_if<PointerPosition::Step>(&work);
    auto* last = waiting_.empty() || !step ? nullptr : std::get_if<PointerPosition::Step>(&waiting_.back());
    if (last) {
      last->dx += step->dx;
      last->dy += step->dy;
    } else {
      waiting_.push_back(std::move(work));
    }
  }

  bool perform(Session& current, Work& work) {
    if (const auto* key = std::get_if<Key>(&work)) return current.keys.key(key->event, commandModifier_());
    if (const auto* media = std::get_if<Media>(&work))
      return current.keys.mediaKey(media->key, media->direction);
    if (const auto* button = std::get_if<Button>(&work)) current.pointer.button(button->number, button->down);
    if (const auto* scroll = std::get_if<ScrollEvent>(&work)) current.pointer.scroll(*scroll);
    if (const auto* step = std::get_if<PointerPosition::Step>(&work)) current.pointer.move(*step);
    return true;
  }

  /// Does what waits, up to the next pause that typing needs.
  void pump() {
    pumping_ = false;
    auto* current = session();
    while (current && !waiting_.empty()) {
      if (auto* text = std::get_if<Text>(&waiting_.front()); text && typed_ < text->size()) {
        const auto progress = current->text.type(std::u32string_view(*text).substr(typed_));
        typed_ += progress.characters;
        if (typed_ < text->size()) return pumpAfter(progress.wait);
      } else if (!text) {
        perform(*current, waiting_.front());
      }
      removeFront();
    }
    if (!current) return;
    current->text.pause();
    current->x->flush();
    restTimer_ = after(kGiveBackAfter, &Stream::rest);
  }

  void removeFront() {
    if (std::holds_alternative<Button>(waiting_.front())) --waitingButtons_;
    waiting_.pop_front();
    typed_ = 0;
  }

  /// Long text is typed in slices even when nothing makes it wait, so that the main queue gets on.
  void pumpAfter(SerialQueue::Duration wait) {
    pumping_ = true;
    restTimer_.cancel();
    pumpTimer_ = after(wait, &Stream::pump);
  }

  void rest() {
    if (session_ && waiting_.empty()) session_->text.giveBackKeycodes();
  }

  Timer after(SerialQueue::Duration delay, void (Stream::*work)()) {
    return queue_->asyncAfter(delay, [weak = weak_from_this(), work] {
      if (auto alive = weak.lock()) (alive.get()->*work)();
    });
  }

  const std::shared_ptr<ReconnectingXServer> link_;
  const std::shared_ptr<SerialQueue> queue_;
  const CommandModifierSource commandModifier_;
  const Logger log_;
  std::unique_ptr<Session> session_;
  std::deque<Work> waiting_;
  std::size_t typed_ = 0;  // characters of the text in front
  int waitingButtons_ = 0;
  bool pumping_ = false;
  SerialQueue::TimePoint lastMotion_{};
  bool flushPosted_ = false;
  Timer pumpTimer_;
  Timer restTimer_;
};

std::shared_ptr<XTestInputEvents> XTestInputEvents::open(std::shared_ptr<ReconnectingXServer> link,
                                                         std::shared_ptr<SerialQueue> mainQueue,
                                                         CommandModifierSource commandModifier, Logger log) {
  auto stream = std::make_shared<Stream>(std::move(link), std::move(mainQueue), std::move(commandModifier),
                                         std::move(log));
  stream->session();  // releases what an earlier run left held down, if there is a server already
  return std::shared_ptr<XTestInputEvents>(new XTestInputEvents(std::move(stream)));
}

XTestInputEvents::XTestInputEvents(std::shared_ptr<Stream> stream) : stream_(std::move(stream)) {}

XTestInputEvents::~XTestInputEvents() { stream_->stop(); }

bool XTestInputEvents::postKey(const KeyEvent& event) {
  if (event.text.empty()) return stream_->post(Key{event});
  return event.direction == KeyDirection::up || stream_->type(event.text);
}

bool XTestInputEvents::postMouse(const MouseEvent& event) {
  const auto button = buttonOf(event);
  if (!button) return stream_->session() != nullptr;  // the warp before it was the motion
  return stream_->post(*button);
}

bool XTestInputEvents::postScroll(const ScrollEvent& event) { return stream_->post(event); }

bool XTestInputEvents::postMediaKey(MediaKey key, KeyDirection direction) {
  return stream_->post(Media{key, direction});
}

void XTestInputEvents::warpPointer(PointerLocation location) { stream_->warp(location); }

PointerLocation XTestInputEvents::pointerLocation() {
  auto* session = stream_->session();
  return session ? session->pointer.location() : PointerLocation{};
}

}  // namespace tevanto
