#pragma once

#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

namespace tevanto::test {

/// A terminal of the test's own: the program works on `device()`, the test types and reads at the other end.
class PseudoTerminal {
 public:
  PseudoTerminal() : controller_(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)) {
    if (controller_ < 0 || ::grantpt(controller_) != 0 || ::unlockpt(controller_) != 0) {
      throw std::runtime_error("no pseudo terminal");
    }
    device_ = ::open(::ptsname(controller_), O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (device_ < 0) throw std::runtime_error("no pseudo terminal");
  }
  ~PseudoTerminal() {
    ::close(device_);
    if (controller_ >= 0) ::close(controller_);
  }
  PseudoTerminal(const PseudoTerminal&) = delete;
  PseudoTerminal& operator=(const PseudoTerminal&) = delete;

  int device() const { return device_; }
  std::string deviceName() const { return ::ptsname(controller_); }

  void type(std::string_view bytes) {
    if (::write(controller_, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size())) {
      throw std::runtime_error("typing failed");
    }
  }

  /// Closes it, as a person closes the window.
  void hangUp() { ::close(std::exchange(controller_, -1)); }

  /// Reads until what the program wrote so far contains `text`; false when it does not in a generous time.
  bool waitFor(std::string_view text) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (screen_.find(text) == std::string::npos) {
      pollfd entry{controller_, POLLIN, 0};
      if (std::chrono::steady_clock::now() > end || ::poll(&entry, 1, 30000) <= 0) return false;
      std::array<char, 4096> bytes;
      const auto count = ::read(controller_, bytes.data(), bytes.size());
      if (count <= 0) return false;
      screen_.append(bytes.data(), static_cast<std::size_t>(count));
    }
    return true;
  }
  const std::string& screen() const { return screen_; }
  void forget() { screen_.clear(); }

  /// Whether lines are edited and echoed, as in a shell.
  bool isCooked() const {
    termios settings{};
    ::tcgetattr(device_, &settings);
    return (settings.c_lflag & ICANON) && (settings.c_lflag & ECHO) && (settings.c_lflag & ISIG);
  }

 private:
  int controller_;
  int device_ = -1;
  std::string screen_;
};

}  // namespace tevanto::test
