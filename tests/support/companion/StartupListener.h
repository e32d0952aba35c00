#pragma once

#include <memory>
#include <string>
#include <vector>

namespace tevanto::test {

/// Hears what programs tell the desktop about their start (freedesktop.org Startup Notification), as a panel
/// does that shows a busy pointer meanwhile.
class StartupListener {
 public:
  explicit StartupListener(const std::string& display);
  ~StartupListener();
  StartupListener(const StartupListener&) = delete;
  StartupListener& operator=(const StartupListener&) = delete;

  /// Every message that was whole by now: "remove: ID=..."
  const std::vector<std::string>& messages();

 private:
  struct Connection;
  const std::unique_ptr<Connection> connection_;
  std::vector<std::string> messages_;
};

}  // namespace tevanto::test
