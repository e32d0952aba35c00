#include "platform/linux/x11/input/SpareKeyPool.h"

#include <algorithm>

namespace tevanto {

void SpareKeyPool::assign(const std::vector<Spare>& spares) {
  std::vector<Slot> slots;
  for (const auto& spare : spares) {
    const auto known =
        std::ranges::find_if(slots_, [&](const auto& slot) { return slot.keycode == spare.keycode; });
    slots.push_back(known == slots_.end() ? Slot{spare.keycode} : *known);
    slots.back().keysym = spare.keysym;
  }
  slots_ = std::move(slots);
}

bool SpareKeyPool::owns(int keycode) const {
  return std::ranges::any_of(slots_, [&](const auto& slot) { return slot.keycode == keycode; });
}

std::vector<SpareKeyPool::Spare> SpareKeyPool::carrying() const {
  std::vector<Spare> result;
  for (const auto& slot : slots_)
    if (slot.keysym != 0) result.push_back({slot.keycode, slot.keysym});
  return result;
}

std::optional<SpareKeyPool::Keycode> SpareKeyPool::find(Keysym keysym) {
  const auto slot = std::ranges::find_if(slots_, [&](const auto& s) { return s.keysym == keysym; });
  if (slot == slots_.end()) return std::nullopt;
  slot->inUse = true;
  return slot->keycode;
}

std::optional<SpareKeyPool::Keycode> SpareKeyPool::claim(Keysym keysym, TimePoint now) {
  if (now < claimsFrom_) return std::nullopt;
  const auto isFree = [&](const Slot& slot) {
    return slot.typedAt == kNever || slot.typedAt + reuseAfter() <= now;
  };
  auto best = slots_.end();
  for (auto slot = slots_.begin(); slot != slots_.end(); ++slot)
    if (!slot->inUse && isFree(*slot) && (best == slots_.end() || slot->typedAt < best->typedAt)) best = slot;
  if (best == slots_.end()) return std::nullopt;
  best->keysym = keysym;
  best->inUse = true;
  return best->keycode;
}

void SpareKeyPool::typed(TimePoint now) {
  if (lastStrokes_ == kNever || now - lastStrokes_ >= kRest) claimsFrom_ = now + kFirstStrokesTake;
  lastStrokes_ = now;
  for (auto& slot : slots_) {
    if (!slot.inUse) continue;
    slot.inUse = false;
    slot.typedAt = now;
  }
}

std::optional<SpareKeyPool::TimePoint> SpareKeyPool::nextClaim() const {
  const auto next = std::ranges::min_element(slots_, {}, &Slot::typedAt);
  if (next == slots_.end()) return std::nullopt;
  if (next->typedAt == kNever) return claimsFrom_;
  return std::max(next->typedAt + reuseAfter(), claimsFrom_);
}

void SpareKeyPool::observeDelay(SerialQueue::Duration delay) { delay_ = std::max(delay, delay_ * 7 / 8); }

SerialQueue::Duration SpareKeyPool::reuseAfter() const {
  return std::min<SerialQueue::Duration>(kReuseAfter + kDelayFactor * delay_, kLongestReuseAfter);
}

void SpareKeyPool::releaseAll() {
  for (auto& slot : slots_) slot.keysym = 0;
}

}  // namespace tevanto
