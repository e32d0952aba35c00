#include "app/linux/CheckedDisplay.h"

#include "app/linux/DisplayBackends.h"

namespace tevanto {

CheckedDisplay::CheckedDisplay()
    : backend_(makeDisplayBackend({queue_, [] { return CommandModifier::control; }, Logger()})) {}

CheckedDisplay::~CheckedDisplay() {
  sync([this] { backend_.reset(); });
  loop_->stop();
}

void CheckedDisplay::sync(const std::function<void()>& work) const { queue_->sync(work); }

}  // namespace tevanto
