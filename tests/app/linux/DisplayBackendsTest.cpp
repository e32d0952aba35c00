#include "app/linux/DisplayBackends.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <map>
#include <string>

#include "platform/linux/x11/XServerReach.h"
#include "tests/support/desktop/WaylandCompositor.h"
#include "tests/support/desktop/XvfbServer.h"

namespace tevanto {
namespace {

class DisplayBackendsTest : public ::testing::Test {
 protected:
  DisplayBackendsTest() { leaveSession(); }

  static void leaveSession() {
    for (const auto* name : {"DISPLAY", "WAYLAND_DISPLAY", "XDG_RUNTIME_DIR"}) ::unsetenv(name);
  }
  static void enter(const std::string& name, const std::string& value) {
    ::setenv(name.c_str(), value.c_str(), 1);
  }
};

TEST_F(DisplayBackendsTest, isNoneWhereTheSessionNamesNoDisplay) {
  EXPECT_FALSE(canReachXServer());
  EXPECT_FALSE(canReachDisplay());
  enter("DISPLAY", "");
  enter("WAYLAND_DISPLAY", "");
  EXPECT_FALSE(canReachXServer());
  EXPECT_FALSE(canReachDisplay());
}

TEST_F(DisplayBackendsTest, isAnXServersWhileItRuns) {
  test::XvfbServer server;
  enter("DISPLAY", server.display());
  EXPECT_TRUE(canReachXServer());
  EXPECT_TRUE(canReachDisplay());
  server.kill();
  EXPECT_FALSE(canReachXServer());
  EXPECT_FALSE(canReachDisplay());
}

TEST_F(DisplayBackendsTest, isACompositorsByNameAndByPath) {
  const test::WaylandCompositor compositor;
  const auto variables = compositor.environment();
  const std::filesystem::path path =
      std::map<std::string, std::string>(variables.begin(), variables.end()).at("WAYLAND_DISPLAY");
  ASSERT_TRUE(path.is_absolute());
  enter("XDG_RUNTIME_DIR", "/nowhere");
  enter("WAYLAND_DISPLAY", path);
  EXPECT_TRUE(canReachDisplay());
  EXPECT_FALSE(canReachXServer()) << "it is none";
  enter("WAYLAND_DISPLAY", path.filename());
  EXPECT_FALSE(canReachDisplay());
  enter("XDG_RUNTIME_DIR", path.parent_path());
  EXPECT_TRUE(canReachDisplay());
}

TEST_F(DisplayBackendsTest, isNoneWhereTheCompositorIsGoneOrCannotBeNamed) {
  enter("XDG_RUNTIME_DIR", "/nowhere");
  enter("WAYLAND_DISPLAY", "wayland-1");
  EXPECT_FALSE(canReachDisplay());
  enter("WAYLAND_DISPLAY", std::string(300, 'x'));
  EXPECT_FALSE(canReachDisplay());
}

}  // namespace
}  // namespace tevanto
