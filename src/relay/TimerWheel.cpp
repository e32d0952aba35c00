#include "relay/TimerWheel.h"

#include <algorithm>

namespace tevanto::relay {

void TimerWheel::Entry::unlink() {
  if (!next_) return;
  next_->previous_ = previous_;
  previous_->next_ = next_;
  next_ = previous_ = nullptr;
}

TimerWheel::List::List() { next_ = previous_ = this; }
TimerWheel::List::~List() {
  while (!isEmpty()) front().unlink();
  next_ = previous_ = nullptr;
}

bool TimerWheel::List::isEmpty() const { return next_ == this; }
TimerWheel::Entry& TimerWheel::List::front() { return *next_; }

void TimerWheel::List::append(Entry& entry) {
  entry.previous_ = previous_;
  entry.next_ = this;
  previous_->next_ = &entry;
  previous_ = &entry;
}

void TimerWheel::List::takeAll(List& other) {
  while (!other.isEmpty()) {
    auto& entry = other.front();
    entry.unlink();
    append(entry);
  }
}

TimerWheel::TimerWheel(Duration tick, TimePoint now) : tick_(tick), start_(now) {}
TimerWheel::~TimerWheel() = default;

void TimerWheel::schedule(Entry& entry, TimePoint due) {
  entry.unlink();
  const auto whole = due > start_ ? (due - start_ + tick_ - Duration(1)) / tick_ : 0;
  entry.tick_ = std::max(static_cast<std::uint64_t>(whole), current_ + 1);
  slots_[entry.tick_ % kSlots].append(entry);
}

void TimerWheel::advance(TimePoint now) {
  if (now < start_) return;
  const auto target = static_cast<std::uint64_t>((now - start_) / tick_);
  while (current_ < target) {
    ++current_;
    turn(now);
  }
}

void TimerWheel::turn(TimePoint now) {
  // Entries that are scheduled meanwhile go to later ticks, never into this list.
  List here;
  auto& slot = slots_[current_ % kSlots];
  here.takeAll(slot);
  while (!here.isEmpty()) {
    auto& entry = here.front();
    entry.unlink();
    if (entry.tick_ > current_) {
      slot.append(entry);  // of a later round
    } else {
      entry.due(now);
    }
  }
}

}  // namespace tevanto::relay
