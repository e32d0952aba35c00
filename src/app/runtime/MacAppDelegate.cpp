#include "app/runtime/MacAppDelegate.h"

#include "app/runtime/SetupWindow.h"
#include "app/runtime/TevantoMacRuntime.h"

namespace tevanto {

MacAppDelegate::MacAppDelegate(ApplicationPresence& presence, TevantoMacRuntime& runtime)
    : presence_(presence), runtime_(runtime) {}

void MacAppDelegate::applicationDidFinishLaunching() {
  presence_.setActivationPolicy(ActivationPolicy::regular);
  presence_.activateIgnoringOtherApps();
  runtime_.openSetupWindow();
}

bool MacAppDelegate::applicationShouldHandleReopen() {
  presence_.setActivationPolicy(ActivationPolicy::regular);
  runtime_.openSetupWindow();
  return true;
}

void MacAppDelegate::applicationWillTerminate() { runtime_.willTerminate(); }

}  // namespace tevanto
