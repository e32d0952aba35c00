#include "platform/linux/webrtc/LibwebrtcSignaling.h"

#include <cassert>
#include <chrono>
#include <future>

#include "core/queue/QueueBound.h"

namespace tevanto {

LibwebrtcSignaling::LibwebrtcSignaling(std::shared_ptr<SerialQueue> queue) : queue_(std::move(queue)) {
  const auto adopted = std::make_shared<std::promise<void>>();
  // Nothing waits in front on a queue of its own, so that on this loop's thread it is done at once.
  queue_->dispatch([this, adopted] {
    thread_.WrapCurrent();
    adopted->set_value();
  });
  adopted->get_future().wait();
}

LibwebrtcSignaling::~LibwebrtcSignaling() {
  if (self_) finish([] {});
}

bool LibwebrtcSignaling::Waiter::Wait(webrtc::TimeDelta longest, bool forWork) {
  if (forWork) return false;
  isWaiting_ = true;
  NullSocketServer::Wait(longest, false);
  isWaiting_ = false;
  // What was posted meanwhile has woken up only this.
  owner_.lookAhead();
  return true;
}

void LibwebrtcSignaling::Waiter::WakeUp() {
  NullSocketServer::WakeUp();
  if (owner_.isCurrent()) {
    owner_.lookAhead();
  } else if (!isWaiting_) {
    owner_.wakeUp();
  }
}

void LibwebrtcSignaling::wakeUp() {
  if (isWoken_.exchange(true)) return;
  queue_->async(weakCall(weakSelf_, [](LibwebrtcSignaling* self) { self->runTurn(); }));
}

void LibwebrtcSignaling::runTurn() {
  assert(isCurrent() && "the loop has one thread, and one engine");
  isWoken_ = false;
  thread_.ProcessMessages(0);
  lookAhead();
}

/// On the loop's thread: what waits gets its turn, when it is due.
void LibwebrtcSignaling::lookAhead() {
  const auto delay = thread_.GetDelay();  // milliseconds
  if (delay == 0) return wakeUp();
  if (delay != rtc::Thread::kForever) wakeUpAt(queue_->now() + std::chrono::milliseconds(delay));
}

void LibwebrtcSignaling::wakeUpAt(SerialQueue::TimePoint due) {
  // One that is set for earlier sets the next.
  if (alarm_ && alarm_->due <= due) return;
  const auto ring = [](LibwebrtcSignaling* self) {
    self->alarm_.reset();
    self->runTurn();
  };
  alarm_ = Alarm{due, queue_->asyncAfter(due - queue_->now(), weakCall(weakSelf_, ring))};
}

void LibwebrtcSignaling::finish(const std::function<void()>& last) {
  if (isCurrent()) return stopWith(last);
  bool hasEnded = false;
  queue_->sync([&] {
    stopWith(last);
    hasEnded = true;
  });
  if (hasEnded) return;
  // Twice: where there is still a mark of the thread that is gone, it takes that of the next one with it.
  for (int time = 0; time < 2; ++time) {
    thread_.UnwrapCurrent();
    thread_.WrapCurrent();
  }
  stopWith(last);
}

void LibwebrtcSignaling::stopWith(const std::function<void()>& last) {
  while (thread_.GetDelay() == 0) thread_.ProcessMessages(0);
  last();
  alarm_.reset();
  self_.reset();
  thread_.UnwrapCurrent();
}

}  // namespace tevanto
