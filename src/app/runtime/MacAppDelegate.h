#pragma once

namespace tevanto {

class ApplicationPresence;
class TevantoMacRuntime;

/// What the application does when the system tells it about its own life. Main queue only.
class MacAppDelegate {
 public:
  MacAppDelegate(ApplicationPresence& presence, TevantoMacRuntime& runtime);

  /// Every launch shows the setup window once; it is the user who closes it.
  void applicationDidFinishLaunching();
  /// The application was opened again while it runs. Answers whether that was dealt with.
  bool applicationShouldHandleReopen();
  void applicationWillTerminate();

 private:
  ApplicationPresence& presence_;
  TevantoMacRuntime& runtime_;
};

}  // namespace tevanto
