#pragma once

namespace tevanto {

class ApplicationPresence;
class TevantoMacRuntime;

/// MacAppDelegate handles the events of the application's life: launch, reopening, termination. Main queue
/// only.
class MacAppDelegate {
 public:
  MacAppDelegate(ApplicationPresence& presence, TevantoMacRuntime& runtime);

  /// Shows the setup window. Only the user closes it.
  void applicationDidFinishLaunching();
  /// Handles that the application was opened again while it runs; true when it did.
  bool applicationShouldHandleReopen();
  void applicationWillTerminate();

 private:
  ApplicationPresence& presence_;
  TevantoMacRuntime& runtime_;
};

}  // namespace tevanto
