#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "app/cli/CompanionText.h"
#include "app/ipc/CompanionStatus.h"
#include "app/runtime/SetupWindow.h"
#include "core/queue/Published.h"
#include "core/queue/SerialQueue.h"

namespace tevanto {

class TevantoMacRuntime;

/// CompanionTerminal is the setup window of a program without windows. It prints the panel as text on
/// standard output, and after it a line for each change. There is no Dock to appear in and nothing to close.
/// Main queue only.
class CompanionTerminal final : public SetupWindowHost, public ApplicationPresence {
 public:
  /// Environment holds what the terminal shows, and where it prints.
  struct Environment {
    std::shared_ptr<SerialQueue> mainQueue;
    std::function<CompanionStatus()> status;
    std::function<void(const std::string&)> print;
    std::string phoneProgram;
    TextStyle style;
  };
  explicit CompanionTerminal(Environment environment);
  ~CompanionTerminal() override;

  /// Follows the published values of the services from now on.
  void follow(TevantoMacRuntime& runtime);
  /// Ends the lines: changes while the services end concern nobody.
  void stopFollowing();

  std::unique_ptr<SetupWindow> makeWindow(const SetupWindowStyle& style,
                                          std::function<void()> onClose) override;
  void setActivationPolicy(ActivationPolicy) override {}
  void activateIgnoringOtherApps() override {}

 private:
  class Panel;

  void showPanel();
  void printPanel();
  void changed();

  const Environment environment_;
  std::vector<Subscription> subscriptions_;
  CompanionStatus shown_;
  bool panelPrinted_ = false;
  Timer timeout_;
};

}  // namespace tevanto
