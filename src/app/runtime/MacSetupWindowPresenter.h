#pragma once

#include <memory>

#include "app/runtime/SetupWindow.h"

namespace tevanto {

/// MacSetupWindowPresenter shows the one setup window: it makes the window the first time and brings it
/// forward after that. When the window closes, the application leaves the Dock again. Main queue only.
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
