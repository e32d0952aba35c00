#include "platform/linux/x11/input/XTestEventQueue.h"

#include <chrono>
#include <cstdint>
#include <utility>

#include "platform/linux/x11/ReconnectingXServer.h"
#include "platform/linux/x11/XInputConnection.h"
#include "platform/linux/x11/input/HeldInput.h"
#include "platform/linux/x11/input/XKeyboard.h"
#include "platform/linux/x11/input/XTestKeyboard.h"
#include "platform/linux/x11/input/XTestPointer.h"
#include "platform/linux/x11/input/XTestText.h"

namespace tevanto {
namespace {

// How long nothing may be typed before the borrowed key codes are released: clients of a busy desktop ask
// for the keymap late, and find nothing then.
constexpr auto kReleaseAfter = SpareKeyPool::kRest;

// Motions closer together than this have arrived in one read.
constexpr auto kBurst = std::chrono::microseconds(200);

/// Appends UTF-16 that holds whole characters; an unpaired surrogate is left out.
void append(XTestEventQueue::Text& text, std::u16string_view units) {
  for (std::size_t i = 0; i < units.size(); ++i) {
    const char32_t unit = units[i];
    if (unit < 0xd800 || unit > 0xdfff) {
      text.push_back(unit);
    } else if (unit < 0xdc00 && i + 1 < units.size() && units[i + 1] >= 0xdc00 && units[i + 1] <= 0xdfff) {
      text.push_back(0x10000 + ((unit - 0xd800) << 10) + (units[++i] - 0xdc00u));
    }
  }
}

}  // namespace

/// Everything that is bound to one connection; the parts end before what they use.
struct XTestEventQueue::Session {
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

XTestEventQueue::XTestEventQueue(std::shared_ptr<ReconnectingXServer> link,
                                 std::shared_ptr<SerialQueue> mainQueue,
                                 CommandModifierSource commandModifier, Logger log)
    : QueueBound(std::move(mainQueue)),
      link_(std::move(link)),
      commandModifier_(std::move(commandModifier)),
      log_(std::move(log)) {}

XTestEventQueue::~XTestEventQueue() = default;

XTestEventQueue::Session* XTestEventQueue::session() {
  if (session_ && session_->generation == link_->generation() && !session_->x->broken())
    return session_.get();
  return renewSession();
}

bool XTestEventQueue::submit(Work work) {
  auto* current = session();
  if (!current) return false;
  if (waiting_.empty()) return perform(*current, work) && current->x->flush();
  enqueue(std::move(work));
  return true;
}

bool XTestEventQueue::type(std::u16string_view units) {
  if (!session()) return false;
  if (waiting_.empty() || !std::holds_alternative<Text>(waiting_.back())) enqueue(Text());
  append(std::get<Text>(waiting_.back()), units);
  if (!pumping_) pump();
  return true;
}

void XTestEventQueue::warp(PointerLocation target) {
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

PointerLocation XTestEventQueue::pointerLocation() {
  auto* current = session();
  return current ? current->pointer.location() : PointerLocation{};
}

void XTestEventQueue::stop() {
  pumpTimer_.cancel();
  restTimer_.cancel();
  waiting_.clear();
  session_.reset();
}

/// Motion at a finger's pace goes out at once; a burst that arrived together goes out together, at the end of
/// the queue's turn, for one system call instead of one for each.
void XTestEventQueue::flushMotion(Session& current) {
  const auto now = queue()->now();
  if (now - std::exchange(lastMotion_, now) > kBurst) {
    current.x->flush();
  } else if (!std::exchange(flushPosted_, true)) {
    post(&XTestEventQueue::flushNow);
  }
}

void XTestEventQueue::flushNow() {
  flushPosted_ = false;
  if (session_) session_->x->flush();
}

XTestEventQueue::Session* XTestEventQueue::renewSession() {
  waiting_.clear();
  waitingButtons_ = 0;
  typed_ = 0;
  pumping_ = false;
  pumpTimer_.cancel();
  restTimer_.cancel();
  session_.reset();
  auto connection = link_->connection();
  if (connection)
    session_ = std::make_unique<Session>(std::move(connection), queue(), log_, link_->generation());
  return session_.get();
}

void XTestEventQueue::enqueue(Work work) {
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

bool XTestEventQueue::perform(Session& current, Work& work) {
  if (const auto* key = std::get_if<Key>(&work)) return current.keys.key(key->event, commandModifier_());
  if (const auto* media = std::get_if<Media>(&work))
    return current.keys.mediaKey(media->key, media->direction);
  if (const auto* button = std::get_if<Button>(&work)) current.pointer.button(button->number, button->down);
  if (const auto* scroll = std::get_if<ScrollEvent>(&work)) current.pointer.scroll(*scroll);
  if (const auto* step = std::get_if<PointerPosition::Step>(&work)) current.pointer.move(*step);
  return true;
}

/// Does what waits, up to the next pause that typing needs.
void XTestEventQueue::pump() {
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
  restTimer_ = queue()->asyncAfter(kReleaseAfter, weakCall(&XTestEventQueue::rest));
}

void XTestEventQueue::removeFront() {
  if (std::holds_alternative<Button>(waiting_.front())) --waitingButtons_;
  waiting_.pop_front();
  typed_ = 0;
}

/// Long text is typed in slices even when nothing makes it wait, so that the main queue gets on.
void XTestEventQueue::pumpAfter(SerialQueue::Duration wait) {
  pumping_ = true;
  restTimer_.cancel();
  pumpTimer_ = queue()->asyncAfter(wait, weakCall(&XTestEventQueue::pump));
}

void XTestEventQueue::rest() {
  if (session_ && waiting_.empty()) session_->text.releaseKeycodes();
}

}  // namespace tevanto
