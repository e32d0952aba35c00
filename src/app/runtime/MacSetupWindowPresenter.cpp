#include "app/runtime/MacSetupWindowPresenter.h"

namespace tevanto {

MacSetupWindowPresenter::MacSetupWindowPresenter(ApplicationPresence& presence, SetupWindowHost& host)
    : presence_(presence), host_(host) {}

void MacSetupWindowPresenter::show() {
  presence_.setActivationPolicy(ActivationPolicy::regular);
  if (!window_) {
    window_ = host_.makeWindow(SetupWindowStyle{}, [this] { windowClosed(); });
    window_->center();
  }
  window_->orderFrontAsKey();
  presence_.activateIgnoringOtherApps();
}

void MacSetupWindowPresenter::windowClosed() { presence_.setActivationPolicy(ActivationPolicy::accessory); }

}  // namespace tevanto
