#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "app/ipc/IpcClient.h"
#include "tests/e2e/Programs.h"
#include "tests/support/companion/UiDesktop.h"
#include "tests/support/programs/Eventually.h"

// The real companion with its windows, on a real X server with a window manager, trays and an accessibility
// bus; used as a person uses it.
namespace tevanto::test {

constexpr auto kTimeout = std::chrono::seconds(60);

template <class Condition>
bool eventuallySeen(Condition condition) {
  return eventually(condition, kTimeout);
}

class DesktopUi : public ::testing::Test {
 protected:
  void start(UiDesktop::Tray tray = UiDesktop::Tray::none) {
    desktop = std::make_unique<UiDesktop>(tray);
    startCompanion();
  }
  /// With these in its environment besides the desktop's.
  void startCompanion(const std::vector<std::pair<std::string, std::string>>& environment = {}) {
    auto options = desktop->options();
    options.environment.insert(options.environment.end(), environment.begin(), environment.end());
    companion = std::make_unique<ChildProcess>(
        std::vector<std::string>{kProgram, "--remote-port", "0", "--screen-port", "0", "--loopback-only",
                                 "--no-discovery"},
        options);
    ASSERT_TRUE(eventuallySeen([this] { return now().remotePort != 0 && now().screenPort != 0; }));
  }
  /// Past the guide, as at every start but the first.
  void startOnThePanel(UiDesktop::Tray tray = UiDesktop::Tray::none) {
    desktop = std::make_unique<UiDesktop>(tray);
    setGuideCompleted();
    startCompanion();
  }
  void setGuideCompleted() {
    ASSERT_EQ(
        tevanto({"defaults", "set", "hasCompletedMacFirstRunGuide", "true", "--type", "bool"}).exitStatus, 0);
  }
  ProgramResult tevanto(std::vector<std::string> arguments) const {
    return desktop->run(kProgram, std::move(arguments));
  }
  /// What the companion tells; on a busy machine it may have to be asked again.
  CompanionStatus now() const {
    CompanionStatus status;
    eventuallySeen([&] {
      const auto answer = askCompanion(desktop->ipcSocket(), {});
      if (!answer || !answer.value() || !answer.value()->status) return false;
      status = *answer.value()->status;
      return true;
    });
    return status;
  }
  std::vector<std::string> phoneCommand(std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), {kPhone, "--host", "127.0.0.1:" + std::to_string(now().remotePort)});
    return arguments;
  }
  /// A paired phone that stays connected until it is told to go, or sees the screen that long.
  std::unique_ptr<ChildProcess> phone(std::vector<std::string> arguments) const {
    return std::make_unique<ChildProcess>(phoneCommand(std::move(arguments)), desktop->options());
  }
  ProgramResult pair(const std::string& code) const {
    return runProgram(phoneCommand({"pair", code}), desktop->options());
  }
  bool closeWindow() const {
    return eventuallySeen([this] {
      // The window manager's; it goes to whatever has the focus.
      if (desktop->activeWindow() == "Tevanto") desktop->key("alt+F4");
      return eventually(
          [this] {
            const auto now = desktop->objects();
            return !now.empty() &&
                   std::none_of(now.begin(), now.end(), [](const auto& each) { return each.name == "Quit"; });
          },
          std::chrono::seconds(5));
    });
  }
  void openPanel() const {
    ASSERT_TRUE(desktop->showsTrayIcon());
    const auto [x, y] = desktop->trayIcon();
    // A window that is just coming up may take the focus from the panel, which then closes.
    ASSERT_TRUE(eventually(
        [&, x = x, y = y] {
          desktop->clickAt(x, y);
          return eventually([this] { return desktop->object("Open setup window").has_value(); },
                            std::chrono::seconds(10));
        },
        2 * kTimeout));
  }
  /// How many pixels of the connection's line are of the green that the dot has.
  long greenPixelsBeside(const std::string& label) const {
    const auto text = desktop->object(label);
    if (!text) return -1;
    const auto found = desktop->pixels(text->x - 20, text->y, 18, text->height);
    return std::count_if(found.begin(), found.end(), [](unsigned pixel) {
      const int red = pixel >> 16 & 0xff;
      const int green = pixel >> 8 & 0xff;
      const int blue = pixel & 0xff;
      return green > red + 60 && green > blue + 40;
    });
  }

  std::unique_ptr<UiDesktop> desktop;
  std::unique_ptr<ChildProcess> companion;
};

}  // namespace tevanto::test
