#pragma once

#include <latch>
#include <thread>

namespace tevanto {

/// Reads what fonts there are on a thread of its own, while the main thread does the rest of a start: without
/// it, the window's first text would wait for that.
class FontPreparation {
 public:
  /// Begins with the system's configuration.
  FontPreparation();
  ~FontPreparation();
  FontPreparation(const FontPreparation&) = delete;
  FontPreparation& operator=(const FontPreparation&) = delete;

  /// Qt's application was made: its own list of the fonts can be filled. Exactly once.
  void goOnWithApplication() { application_.count_down(); }
  /// Waits until everything was read, and opens the views' fonts on this thread: to be called before the
  /// first text is laid out, while the engine's thread still loads the views.
  void finish();
  /// Before Qt's application goes.
  void wait();

 private:
  std::latch application_{1};
  std::thread thread_;
};

}  // namespace tevanto
