#include "platform/linux/x11/backend/X11Backend.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "control/AccessibilityPermission.h"
#include "control/InputEvents.h"
#include "platform/linux/display/WindowIdentity.h"
#include "screen/capture/DisplayCapture.h"
#include "screen/capture/ScreenCapturePermission.h"
#include "tests/support/desktop/RecordingXClient.h"
#include "tests/support/desktop/XvfbServer.h"
#include "tests/support/fakes/ManualQueue.h"
#include "tests/support/programs/Eventually.h"

namespace tevanto {
namespace {

constexpr auto kGenerous = std::chrono::seconds(30);

class X11BackendTest : public ::testing::Test {
 protected:
  X11BackendTest() { enter(server_.display()); }

  static void enter(const std::string& display) { ::setenv("DISPLAY", display.c_str(), 1); }

  std::optional<Result<std::vector<ShareableDisplay>>> displays() {
    std::optional<Result<std::vector<ShareableDisplay>>> found;
    backend_.capture().listDisplays([&](auto answer) { found = std::move(answer); });
    return found;
  }

  test::XvfbServer server_{"1280x800x24"};
  const std::shared_ptr<test::ManualQueue> queue_ = std::make_shared<test::ManualQueue>("main");
  X11Backend backend_{{queue_, [] { return CommandModifier::control; }, Logger()}};
};

TEST_F(X11BackendTest, movesThePointerOfTheServer) {
  const test::RecordingXClient client(server_.display());
  const auto input = backend_.input();
  input->warpPointer({300, 200});
  EXPECT_TRUE(input->postMouse({MouseEventType::moved, {300, 200}}));
  // The server sees to the connections of the backend and of the client in turns of its own.
  EXPECT_TRUE(test::eventually([&] { return client.pointer() == std::make_pair(300, 200); }));
  EXPECT_EQ(backend_.input(), input) << "one object for all";
}

TEST_F(X11BackendTest, provesThatThePointerReachesAWindow) {
  const auto proof = backend_.diagnosis().openPointerProof();
  ASSERT_TRUE(proof) << proof.error();
  const auto middle = proof.value()->middle();
  const auto input = backend_.input();
  input->warpPointer(middle);
  input->postMouse({MouseEventType::moved, middle});
  EXPECT_TRUE(proof.value()->seesPointer(kGenerous));
}

TEST_F(X11BackendTest, seesNoPointerThatDoesNotCome) {
  const auto proof = backend_.diagnosis().openPointerProof();
  ASSERT_TRUE(proof) << proof.error();
  EXPECT_FALSE(proof.value()->seesPointer(std::chrono::milliseconds(0)));
}

TEST_F(X11BackendTest, listsTheDisplaysOfTheServer) {
  const auto found = displays();
  ASSERT_TRUE(found && *found);
  ASSERT_EQ(found->value().size(), 1u);
  EXPECT_EQ(found->value().front().width, 1280);
  EXPECT_EQ(found->value().front().height, 800);
}

TEST_F(X11BackendTest, hasBothPermissionsWhileTheServerRuns) {
  EXPECT_TRUE(backend_.accessibility().isTrusted());
  EXPECT_TRUE(backend_.screenCapture().isGranted());
  server_.kill();
  queue_->advance(std::chrono::seconds(2));
  EXPECT_FALSE(backend_.accessibility().isTrusted());
  EXPECT_FALSE(backend_.screenCapture().isGranted());
}

TEST_F(X11BackendTest, findsAServerThatComesLater) {
  server_.kill();
  const auto input = backend_.input();
  EXPECT_FALSE(input->postMouse({MouseEventType::moved, {1, 1}}));
  server_.restart();
  backend_.accessibility().request();
  EXPECT_TRUE(backend_.accessibility().isTrusted());
  EXPECT_TRUE(input->postMouse({MouseEventType::moved, {1, 1}}));
}

TEST_F(X11BackendTest, raisesNothingWithoutAWindowManager) {
  EXPECT_FALSE(backend_.raiseWindow({{"XTerm"}, "xterm"}));
}

TEST_F(X11BackendTest, describesTheDisplayByItsVariable) {
  EXPECT_EQ(backend_.describe(), "DISPLAY is " + server_.display());
  enter("");
  EXPECT_EQ(backend_.describe(), "DISPLAY is not set");
  ::unsetenv("DISPLAY");
  EXPECT_EQ(backend_.describe(), "DISPLAY is not set");
}

TEST_F(X11BackendTest, diagnosesADesktop) {
  const auto desktop = backend_.diagnosis().desktop();
  ASSERT_TRUE(desktop);
  EXPECT_FALSE(desktop->hasTray);
  EXPECT_FALSE(desktop->dotsPerInch);
}

TEST_F(X11BackendTest, diagnosesThatThereIsNoServer) {
  server_.kill();
  const auto proof = backend_.diagnosis().openPointerProof();
  ASSERT_FALSE(proof);
  EXPECT_EQ(proof.error(), "no X server takes us in");
  EXPECT_FALSE(backend_.diagnosis().desktop());
  const auto found = displays();
  ASSERT_TRUE(found);
  EXPECT_FALSE(*found);
}

}  // namespace
}  // namespace tevanto
