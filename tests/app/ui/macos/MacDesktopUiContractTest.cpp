// The desktop UI on this Mac, over the real services, which touch nothing but fakes. Needs a session with a
// display.

#include <gtest/gtest.h>

#include <QGuiApplication>
#include <QRect>
#include <QScreen>
#include <QWindow>
#include <functional>
#include <memory>
#include <thread>
#include <utility>

#include "app/ui/PanelPlacement.h"
#include "app/ui/macos/MacDesktopUi.h"
#include "tests/app/ui/UiWorld.h"
#include "tests/platform/macos/application/DesktopUser.h"
#include "tests/support/programs/Eventually.h"

namespace tevanto::test {
namespace {

QRect rectangleOf(const MenuBarIcon& icon) {
  return QRectF(icon.x, icon.y, icon.width, icon.height).toRect();
}

QWindow* shownWindow(bool hasFrame) {
  for (QWindow* window : QGuiApplication::allWindows()) {
    if (window->isVisible() && window->flags().testFlag(Qt::FramelessWindowHint) != hasFrame) return window;
  }
  return nullptr;
}
QWindow* panel() { return shownWindow(false); }
QWindow* setupWindow() { return shownWindow(true); }

class MacDesktopUiContract : public testing::Test {
 protected:
  /// Runs the UI's loop, with `drive` on another thread. Both end when `drive` returns.
  void show(const std::function<void()>& drive) {
    auto operations = UiActions::of(world_.runtime());
    operations.openSetupWindow = [this] { ++reopenings_; };
    operations.quit = [this] { ui_->stop(); };
    ui_->present({.runtime = world_.runtime(),
                  .defaults = world_.defaults,
                  .operations = std::move(operations),
                  .links = {},
                  .displayLost = {}});
    std::thread driver([&] {
      drive();
      ui_->stop();
    });
    ui_->run();
    driver.join();
  }

  // From the driving thread.
  void onMain(const std::function<void()>& work) { ui_->mainQueue()->sync(work); }
  bool eventuallyOnMain(const std::function<bool()>& condition) {
    return eventually([&] {
      bool holds = false;
      onMain([&] { holds = condition(); });
      return holds;
    });
  }
  bool iconIsShown() {
    return eventuallyOnMain([] {
      const auto icon = menuBarIcon();
      return icon && icon->width > 0 && icon->y < 100;
    });
  }
  void press() {
    onMain([] { EXPECT_TRUE(pressMenuBarIcon()); });
  }

  UiWorld world_;
  std::unique_ptr<DesktopUi> ui_ = makeMacDesktopUi();
  int reopenings_ = 0;
};

TEST_F(MacDesktopUiContract, opensThePanelUnderTheIconAndClosesItAtTheNextPress) {
  show([this] {
    ASSERT_TRUE(iconIsShown());
    press();
    ASSERT_TRUE(eventuallyOnMain([] { return panel() != nullptr; }));
    onMain([] {
      const auto icon = rectangleOf(*menuBarIcon());
      const auto place = panel()->geometry();
      EXPECT_GE(place.top(), icon.y() + icon.height());
      EXPECT_EQ(place.topLeft(), placePanel(icon, place.size(), panel()->screen()->availableGeometry()));
    });
    press();
    EXPECT_TRUE(eventuallyOnMain([] { return panel() == nullptr; }));
  });
}

TEST_F(MacDesktopUiContract, showsInTheMenuBarThatAPhoneIsConnected) {
  std::shared_ptr<FakeTcpPeer> phone;
  show([&] {
    ASSERT_TRUE(iconIsShown());
    onMain([&] {
      const auto alone = menuBarIcon()->imageWidth;
      phone = world_.connectPhone();
      EXPECT_GT(menuBarIcon()->imageWidth, alone);
    });
  });
}

TEST_F(MacDesktopUiContract, opensTheSetupWindowWhenTheApplicationIsOpenedAgain) {
  show([this] {
    ASSERT_TRUE(iconIsShown());
    onMain([] { EXPECT_TRUE(openAgain()); });
    EXPECT_TRUE(eventuallyOnMain([this] { return reopenings_ == 1; }));
  });
}

TEST_F(MacDesktopUiContract, showsTheSetupWindowAgainAfterItWasClosed) {
  show([this] {
    std::unique_ptr<SetupWindow> window;
    int closings = 0;
    onMain([&] {
      window = ui_->makeWindow(SetupWindowStyle(), [&] { ++closings; });
      window->center();
      window->orderFrontAsKey();
    });
    ASSERT_TRUE(eventuallyOnMain([] { return setupWindow() != nullptr; }));
    onMain([&] {
      EXPECT_EQ(setupWindow()->size(), QSize(SetupWindowStyle::kWidth, SetupWindowStyle::kHeight));
      setupWindow()->close();
      EXPECT_EQ(closings, 1);
      EXPECT_EQ(setupWindow(), nullptr);
      window->orderFrontAsKey();
    });
    EXPECT_TRUE(eventuallyOnMain([] { return setupWindow() != nullptr; }));
    onMain([&] { window.reset(); });
  });
}

TEST_F(MacDesktopUiContract, isInTheDockOnlyWhileItIsRegular) {
  show([this] {
    onMain([this] {
      ui_->setActivationPolicy(ActivationPolicy::regular);
      EXPECT_TRUE(isInTheDock());
      ui_->setActivationPolicy(ActivationPolicy::accessory);
      EXPECT_FALSE(isInTheDock());
    });
  });
}

}  // namespace
}  // namespace tevanto::test
