#pragma once

#include <latch>
#include <thread>

namespace tevanto {

/// FontPreparation reads the list of installed fonts on a thread of its own, while the main thread does the
/// rest of a start. Without it, the window's first text would wait for that.
class FontPreparation {
 public:
  /// Begins with the system's configuration.
  FontPreparation();
  ~FontPreparation();
  FontPreparation(const FontPreparation&) = delete;
  FontPreparation& operator=(const FontPreparation&) = delete;

  /// To be called once Qt's application was made, so that Qt's own list of fonts can be filled. Exactly once.
  void goOnWithApplication() { application_.count_down(); }
  /// Waits until everything was read, and opens the views' fonts on this thread. To be called before the
  /// first text is laid out, while the engine's thread still loads the views.
  void finish();
  /// Waits for the thread. To be called before Qt's application is destroyed.
  void wait();

 private:
  std::latch application_{1};
  std::thread thread_;
};

}  // namespace tevanto
