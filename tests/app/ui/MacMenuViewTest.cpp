#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QAccessible>
#include <QColor>
#include <QFont>
#include <QFontInfo>

#include "control/MacPowerManager.h"
#include "remote/MacRemoteServer.h"
#include "tests/app/ui/ShownView.h"

namespace tevanto {
namespace {

using test::ShownView;
using test::UiWorld;
using ::testing::ElementsAre;

/// The panel in the setup window of somebody who has completed the guide.
class Panel : public ::testing::Test {
 protected:
  Panel() { (void)world.defaults.set(CompanionModel::kGuideKey, true); }

  ShownView& view(ShownView::Kind kind = ShownView::Kind::setupWindow) {
    if (!view_) view_ = std::make_unique<ShownView>(world, kind);
    view_->settle();
    return *view_;
  }
  QString code() { return QString::fromStdString(world.runtime().server().pairingCode.get()); }
  QString keepAwakeSubtitle() { return view().texts(view().find("keepAwake")).value(1); }

  UiWorld world;

 private:
  std::unique_ptr<ShownView> view_;
};

TEST_F(Panel, showsItsPartsFromTopToBottom) {
  EXPECT_EQ(view().texts(), (QStringList{"Tevanto",
                                         "Device companion",
                                         "Ready",
                                         "Waiting for iPhone",
                                         "PAIRING CODE",
                                         code(),
                                         "Copy code",
                                         "Permissions",
                                         "Accessibility",
                                         "Allows pointer and keyboard control.",
                                         "Screen Recording",
                                         "Allows this screen to be mirrored.",
                                         "Keep running after screen lock",
                                         "Off when the screen locks",
                                         "Launch at login",
                                         "Starts after login",
                                         "Website",
                                         "Support",
                                         "Privacy",
                                         "Terms",
                                         "Quit"}));
  EXPECT_EQ(view().symbols(), (QStringList{"doc.on.doc", "cup.and.saucer.fill", "power"}));
}

TEST_F(Panel, opensTheSetupWindowFromUnderTheIcon) {
  auto& panel = view(ShownView::Kind::panel);
  EXPECT_EQ(panel.texts().mid(16),
            (QStringList{"Open setup window", "Website", "Support", "Privacy", "Terms", "Quit"}));
  panel.click(panel.control("Open setup window"));
  EXPECT_THAT(world.calls, ElementsAre("openSetupWindow"));
}

TEST_F(Panel, hasCornersOnlyWhereTheDesktopShowsNothingBehindThem) {
  auto& panel = view(ShownView::Kind::panel);
  const auto picture = [&] { return panel.window().grabWindow(); };
  EXPECT_NE(picture().pixelColor(0, 0), picture().pixelColor(30, 0)) << "the frame's line";
  panel.window().rootObject()->setProperty("isRound", false);
  panel.settle();
  EXPECT_EQ(picture().pixelColor(0, 0), picture().pixelColor(30, 0));
}

TEST_F(Panel, isDismissedByEscapeUnderTheIcon) {
  auto& panel = view(ShownView::Kind::panel);
  int dismissals = 0;
  auto* const counter = new QObject(panel.window().rootObject());
  QObject::connect(panel.window().rootObject(), SIGNAL(dismissed()), counter, SLOT(deleteLater()));
  QObject::connect(counter, &QObject::destroyed, [&] { ++dismissals; });
  panel.press(Qt::Key_Escape);
  panel.settle();
  EXPECT_EQ(dismissals, 1);
}

TEST_F(Panel, dotTurnsGreenWhileAPhoneIsConnected) {
  const auto color = [this] { return view().find("dot")->property("color").value<QColor>(); };
  const auto isGreen = [&] {
    return color().green() > color().red() + 60 && color().green() > color().blue() + 60;
  };
  EXPECT_FALSE(isGreen());
  const auto phone = world.connectPhone();
  EXPECT_TRUE((view(), isGreen()));
  EXPECT_EQ(view().textOf("connection"), "Connected");
  EXPECT_EQ(view().textOf("status"), "iPhone connected");
  EXPECT_EQ(view().textOf("codeCaption"), "CONNECTED");
  EXPECT_EQ(view().textOf("code"), code());
  phone->fail();
  EXPECT_EQ(view().textOf("connection"), "Ready");
  EXPECT_EQ(view().textOf("status"), "Waiting for iPhone");
  EXPECT_EQ(view().textOf("codeCaption"), "PAIRING CODE");
  EXPECT_FALSE(isGreen());
}

TEST_F(Panel, showsTheNextCodeAfterAPairing) {
  world.runtime().server().pairingCode.set("000000");
  world.run();
  EXPECT_EQ(view().textOf("code"), "000000");
  auto phone = world.listeners.last->connect();
  world.run();
  phone->send("{\"type\":\"pairRequest\",\"code\":\"000000\"}\n");
  EXPECT_EQ((view(), view().textOf("status")), "Paired");
  EXPECT_EQ(view().textOf("code"), code());
}

TEST_F(Panel, showsTheCodeInAMonospacedFont) {
  const auto font = view().find("code")->property("font").value<QFont>();
  EXPECT_EQ(font.family(), view().appearance().monospacedFamily());
  EXPECT_TRUE(QFontInfo(font).fixedPitch());
}

TEST_F(Panel, tellsThatTheScreenIsMirrored) {
  EXPECT_EQ(view().textOf("screenStatus"), "");
  world.connectPhone();
  const auto viewer = world.mirror();
  EXPECT_EQ((view(), view().textOf("screenStatus")), "Mirroring to iPhone");
  EXPECT_TRUE(test::isShown(view().find("screenStatus")));
  EXPECT_TRUE(world.model().isMirroring());
  viewer->fail();
  EXPECT_EQ((view(), view().textOf("screenStatus")), "");
  EXPECT_FALSE(test::isShown(view().find("screenStatus")));
  EXPECT_FALSE(world.model().isMirroring());
}

TEST_F(Panel, asksForTheAccessibilityPermission) {
  world.accessibility.trusted = false;
  auto* const row = view().find("accessibility");
  view().click(view().control("Open Settings", row));
  EXPECT_EQ(world.accessibility.requests, 1);
  EXPECT_EQ(world.screenRecording.requests, 0);
  EXPECT_TRUE(view().control("Open Settings", row)) << "nobody has granted it yet";
  world.accessibility.trusted = true;
  view().click(view().control("Open Settings", row));
  EXPECT_FALSE((view(), view().control("Open Settings", row)));
}

TEST_F(Panel, asksForTheScreenRecordingPermission) {
  world.screenRecording.granted = false;
  world.screenRecording.userAgrees = true;
  auto* const row = view().find("screenRecording");
  view().click(view().control("Open Settings", row));
  EXPECT_EQ(world.screenRecording.requests, 1);
  EXPECT_EQ(world.accessibility.requests, 0);
  EXPECT_FALSE((view(), view().control("Open Settings", row)));
}

TEST_F(Panel, keepAwakeTellsTheBatteryWhereThereIsOne) {
  world.sources.setBattery(64, PowerSources::kBatteryPower);
  EXPECT_EQ(keepAwakeSubtitle(), "Off when the screen locks · 64%");
  view().click(view().control("Keep running after screen lock"));
  EXPECT_TRUE(world.runtime().power().isKeepAwakeOn.get());
  EXPECT_EQ(keepAwakeSubtitle(), "Keeps running after screen lock · 64%");
  world.sources.setBattery(63, PowerSources::kBatteryPower);
  world.model().refresh();
  EXPECT_EQ(keepAwakeSubtitle(), "Keeps running after screen lock · 63%");
}

TEST_F(Panel, keepAwakeFallsBackWhenItIsRefused) {
  world.sources.setBattery(20, PowerSources::kBatteryPower);
  view().click(view().control("Keep running after screen lock"));
  EXPECT_FALSE(view().control("Keep running after screen lock")->property("isOn").toBool());
  EXPECT_EQ(world.model().keepAwakeStatusText(), "Battery too low (20%) to keep awake");
}

TEST_F(Panel, keepAwakeFollowsThePhone) {
  const auto phone = world.connectPhone();
  phone->send("{\"type\":\"command\",\"token\":\"" + std::string(UiWorld::kToken) +
              "\",\"command\":{\"type\":\"setKeepAwake\",\"on\":true}}\n");
  EXPECT_TRUE((view(), view().control("Keep running after screen lock")->property("isOn").toBool()));
}

struct LoginState {
  LoginItemStatus status;
  bool isOn;
  const char* subtitle;
};

class LaunchAtLogin : public Panel, public ::testing::WithParamInterface<LoginState> {};

TEST_P(LaunchAtLogin, showsWhatTheServiceSays) {
  world.loginItem.current = GetParam().status;
  world.loginItem.afterRegister = GetParam().status;
  const auto* const toggle = view().control("Launch at login");
  EXPECT_EQ(toggle->property("isOn").toBool(), GetParam().isOn);
  EXPECT_EQ(view().texts(view().find("launchAtLogin")).value(1), GetParam().subtitle);
}

INSTANTIATE_TEST_SUITE_P(
    States, LaunchAtLogin,
    ::testing::Values(LoginState{LoginItemStatus::notRegistered, false, "Off"},
                      LoginState{LoginItemStatus::enabled, true, "Starts after login"},
                      LoginState{LoginItemStatus::requiresApproval, false, "Approval required"},
                      LoginState{LoginItemStatus::notFound, false, "Install in Applications"}));

TEST_F(Panel, launchAtLoginSwitches) {
  auto* const toggle = view().control("Launch at login");
  ASSERT_TRUE(toggle->property("isOn").toBool()) << "the first start registers";
  view().click(toggle);
  EXPECT_FALSE(toggle->property("isOn").toBool());
  EXPECT_EQ(world.loginItem.unregistrations, 1);
  view().click(toggle);
  EXPECT_TRUE(toggle->property("isOn").toBool());
}

TEST_F(Panel, launchAtLoginFallsBackWhenItNeedsApproval) {
  world.loginItem.afterRegister = LoginItemStatus::requiresApproval;
  auto* const toggle = view().control("Launch at login");
  const int before = world.loginItem.settingsOpened;
  view().click(toggle);
  EXPECT_FALSE(toggle->property("isOn").toBool());
  EXPECT_EQ(view().texts(view().find("launchAtLogin")).value(1), "Approval required");
  EXPECT_EQ(world.loginItem.settingsOpened, before + 1);
}

TEST_F(Panel, tabReachesEachControlFromTopToBottom) {
  world.accessibility.trusted = false;
  world.screenRecording.granted = false;
  EXPECT_EQ(view().controlsByTab(),
            (QStringList{"Copy code", "Open Settings", "Open Settings", "Keep running after screen lock",
                         "Launch at login", "Website", "Support", "Privacy", "Terms", "Quit"}));
}

TEST_F(Panel, theKeyboardDoesWhatThePointerDoes) {
  for (const auto* name : {"Copy code", "Website", "Quit"}) {
    ASSERT_TRUE(view().tabTo(view().control(name))) << name;
    view().press(Qt::Key_Space);
    view().press(Qt::Key_Return);
  }
  const auto copied = "copy " + code().toStdString();
  const auto opened = "open " + world.links.website;
  EXPECT_THAT(world.calls, ElementsAre(copied, copied, opened, opened, "quit", "quit"));
  ASSERT_TRUE(view().tabTo(view().control("Keep running after screen lock")));
  view().press(Qt::Key_Space);
  EXPECT_TRUE(world.runtime().power().isKeepAwakeOn.get());
}

TEST_F(Panel, thePointerLeavesTheKeyboardsFocusWhereItIs) {
  view().click(view().control("Website"));
  EXPECT_FALSE(view().control("Website")->hasActiveFocus());
}

TEST_F(Panel, assistiveTechnologyFindsRoleNameAndAction) {
  struct Expected {
    const char* name;
    QAccessible::Role role;
  };
  for (const auto& [name, role] :
       {Expected{"Copy code", QAccessible::Button},
        Expected{"Keep running after screen lock", QAccessible::CheckBox},
        Expected{"Launch at login", QAccessible::CheckBox}, Expected{"Website", QAccessible::Link},
        Expected{"Terms", QAccessible::Link}, Expected{"Quit", QAccessible::Button}}) {
    auto* const control = QAccessible::queryAccessibleInterface(view().control(name));
    ASSERT_TRUE(control) << name;
    EXPECT_EQ(control->text(QAccessible::Name), name);
    EXPECT_EQ(control->role(), role) << name;
    ASSERT_TRUE(control->actionInterface()) << name;
  }
  auto* const toggle =
      QAccessible::queryAccessibleInterface(view().control("Keep running after screen lock"));
  EXPECT_FALSE(toggle->state().checked);
  toggle->actionInterface()->doAction(QAccessibleActionInterface::toggleAction());
  view().settle();
  EXPECT_TRUE(world.runtime().power().isKeepAwakeOn.get());
  EXPECT_TRUE(toggle->state().checked);
  QAccessible::queryAccessibleInterface(view().control("Quit"))
      ->actionInterface()
      ->doAction(QAccessibleActionInterface::pressAction());
  EXPECT_THAT(world.calls, ElementsAre("quit"));
}

}  // namespace
}  // namespace tevanto
