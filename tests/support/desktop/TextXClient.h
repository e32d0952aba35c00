#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>

namespace tevanto::test {

/// A text field as an application on Xlib has it: key events become text by the input method of the locale,
/// and the keymap is read again when the server says that it changed. One thread.
class TextXClient {
 public:
  explicit TextXClient(const std::string& display);
  ~TextXClient();
  TextXClient(const TextXClient&) = delete;
  TextXClient& operator=(const TextXClient&) = delete;

  /// UTF-8 of what was typed, and "<1>" for a click of button 1; takes in what has come by now.
  const std::string& text();
  /// Waits until as many bytes have come, or no more come for a while that no pause of typing reaches.
  const std::string& textOf(std::size_t bytes);
  void clear();
  /// How late a key was read at most since `clear`, from when the server had it.
  std::chrono::milliseconds longestDelay() const;
  /// Owns the clipboard, so that a change of it can be seen.
  void takeClipboard();
  bool ownsClipboard();

 private:
  struct Window;
  std::unique_ptr<Window> window_;
};

}  // namespace tevanto::test
