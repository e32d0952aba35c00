#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "app/ipc/IpcClient.h"
#include "tests/e2e/Programs.h"
#include "tests/support/companion/CompanionProcess.h"
#include "tests/support/desktop/WaylandCompositor.h"
#include "tests/support/programs/Eventually.h"

namespace tevanto {

using test::kProgram;
namespace {

using test::ChildProcess;

/// The companion with its window on a real Wayland compositor.
class UiOnWayland : public ::testing::Test {
 protected:
  UiOnWayland() {
    const auto more = compositor.environment();
    options.environment = desktop.environment;
    options.environment.insert(options.environment.end(), more.begin(), more.end());
    options.mergeErrors = true;
  }
  void startCompanion() {
    companion = std::make_unique<ChildProcess>(
        std::vector<std::string>{kProgram, "--remote-port", "0", "--screen-port", "0", "--loopback-only",
                                 "--no-discovery"},
        options);
    ASSERT_TRUE(comesForward("Tevanto"));
  }
  bool comesForward(const std::string& title) const {
    return test::eventually([&] { return compositor.focusedWindow() == title; }, std::chrono::seconds(60));
  }
  /// Until the running companion has taken it over.
  int startOnceMore(const std::string& token) const {
    auto again = options;
    again.environment.emplace_back("XDG_ACTIVATION_TOKEN", token);
    return test::runProgram({kProgram, "--loopback-only"}, again).exitStatus;
  }

  test::CompanionDesktop desktop;
  test::WaylandCompositor compositor;
  ChildProcess::Options options;
  std::unique_ptr<ChildProcess> companion;
};

TEST_F(UiOnWayland, aSecondStartBringsTheWindowForwardByTheTokenOfWhoAskedForIt) {
  startCompanion();
  const ChildProcess other({OTHER_WINDOW}, options);
  ASSERT_TRUE(comesForward("Other"));
  ASSERT_EQ(startOnceMore(""), 0);
  EXPECT_EQ(compositor.focusedWindow(), "Other") << "nobody may come forward unasked";
  const test::WaylandCompositor::Token token(compositor);
  ASSERT_EQ(startOnceMore(token.text()), 0);
  EXPECT_TRUE(comesForward("Tevanto"));
}

TEST_F(UiOnWayland, aWindowThatWasClosedIsFoundAgain) {
  startCompanion();
  compositor.close("Tevanto");
  ASSERT_TRUE(comesForward("")) << "nothing is left on the screen";
  ASSERT_EQ(startOnceMore(""), 0);
  EXPECT_TRUE(comesForward("Tevanto"));
  EXPECT_TRUE(companion->isRunning());
}

}  // namespace
}  // namespace tevanto
