#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/programs/ChildProcess.h"
#include "tests/support/programs/TemporaryFolder.h"

namespace tevanto::test {

/// A Wayland compositor of the test's own, without a screen to look at, that lets those windows come forward
/// whose program has an activation token.
class WaylandCompositor {
 public:
  WaylandCompositor();

  /// For programs that are to show their windows on it.
  std::vector<std::pair<std::string, std::string>> environment() const;
  /// The title of the window that has the focus; empty when none has.
  std::string focusedWindow() const;
  /// Asks the window of this title to close, as by its button.
  void close(const std::string& title) const;

  /// A program's right to bring another one's window forward, for as long as this lives.
  class Token {
   public:
    explicit Token(const WaylandCompositor& compositor);
    const std::string& text() const { return text_; }

   private:
    ChildProcess program_;
    std::string text_;
  };

 private:
  std::string socket() const;
  std::string message(std::vector<std::string> arguments) const;

  TemporaryFolder folder_;
  std::unique_ptr<ChildProcess> process_;
  std::string messages_;  // where it takes commands
};

}  // namespace tevanto::test
