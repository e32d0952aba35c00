#include "app/ui/linux/ToolkitMotion.h"

#include <gtest/gtest.h>

#include <QCoreApplication>

#include <chrono>
#include <cstdlib>
#include <memory>

#include "tests/support/desktop/XSettingsDaemon.h"
#include "tests/support/desktop/XvfbServer.h"

namespace tevanto {
namespace {

using namespace std::chrono_literals;
using test::XSettingsDaemon;

class ToolkitMotionTest : public ::testing::Test {
 protected:
  ToolkitMotionTest() {
    ::setenv("DISPLAY", server_.display().c_str(), 1);
    ::setenv("GSETTINGS_BACKEND", "memory", 1);  // never the user's own
  }
  /// Lets the loop turn until it is told; the deadline only decides how long a failure takes.
  bool becomesReduced(bool reduced) {
    const auto end = std::chrono::steady_clock::now() + 60s;
    while (isReduced_ != reduced) {
      if (std::chrono::steady_clock::now() > end) return false;
      QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    }
    return true;
  }
  void look() {
    motion_ = std::make_unique<ToolkitMotion>([this](bool isReduced) { isReduced_ = isReduced; });
  }

  test::XvfbServer server_;
  char name_[5] = "test";
  char* arguments_[2] = {name_, nullptr};
  int count_ = 1;
  QCoreApplication application_{count_, arguments_};
  bool isReduced_ = false;
  std::unique_ptr<ToolkitMotion> motion_;
};

TEST_F(ToolkitMotionTest, isReducedWhereTheDesktopSaysSoAtTheStart) {
  XSettingsDaemon daemon(server_.display());
  daemon.publish("Gtk/EnableAnimations", 0);
  look();
  EXPECT_TRUE(isReduced_);
}

TEST_F(ToolkitMotionTest, followsTheDesktop) {
  look();
  EXPECT_FALSE(isReduced_);
  XSettingsDaemon daemon(server_.display());
  daemon.publish("Gtk/EnableAnimations", 0);
  EXPECT_TRUE(becomesReduced(true));
  daemon.publish("Gtk/EnableAnimations", 1);
  EXPECT_TRUE(becomesReduced(false));
}

}  // namespace
}  // namespace tevanto
