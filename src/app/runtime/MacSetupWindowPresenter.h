#pragma once

#include <memory>

#include "app/runtime/SetupWindow.h"

namespace tevanto {

/// Shows the one setup window: makes it the first time, brings it forward after that, and takes the
/// application out of the Dock again when it closes. Main queue only.
class MacSetupWindowPresenter {
 public:
  MacSetupWindowPresenter(ApplicationPresence& presence, SetupWindowHost& host);

  void show();

 private:
  void windowClosed();

  ApplicationPresence& presence_;
  SetupWindowHost& host_;
  std::unique_ptr<SetupWindow> window_;
};

}  // namespace tevanto
