#include "tests/e2e/UiFixture.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/desktop/DBusMock.h"

namespace tevanto {
namespace {

using test::DesktopUi;
using test::eventuallySeen;
using test::kProgram;
using test::UiDesktop;
using ::testing::HasSubstr;

constexpr auto kGuideButton = "I have Tevanto on my iPhone";

TEST_F(DesktopUi, theGuideIsSeenReadAndLeftByKeyboardOnce) {
  start();
  ASSERT_TRUE(desktop->shows(kGuideButton));
  EXPECT_EQ(desktop->object("QR code for the Tevanto App Store page")->role, "graphic");
  for (const auto* text : {"STEP 1 OF 2", "Your Mac, within reach.", "Scan with your iPhone",
                           "Install Tevanto on your iPhone, then pair in a minute."}) {
    EXPECT_TRUE(desktop->object(text)) << text;
  }
  const auto picture = (desktop->configFolder() / "guide.png").string();
  desktop->run("xdotool", {"mousemove", "0", "0"});
  EXPECT_TRUE(eventuallySeen([&] {
    desktop->run("maim", {picture});
    return desktop->run("zbarimg", {"--quiet", "--raw", picture}).output ==
           "https://tevanto.example/iphone\n";
  }));

  ASSERT_TRUE(desktop->click("Copy link"));
  EXPECT_TRUE(desktop->shows("Link copied"));
  EXPECT_EQ(desktop->clipboard(), "https://tevanto.example/iphone");

  ASSERT_TRUE(desktop->focusByKeyboard(kGuideButton));
  desktop->key("space");
  ASSERT_TRUE(desktop->shows("PAIRING CODE"));
  EXPECT_FALSE(desktop->object("Open setup window")) << "this is the setup window";
  EXPECT_EQ(tevanto({"defaults", "get", "hasCompletedMacFirstRunGuide"}).output, "true\n");

  companion->terminate();
  startCompanion();
  ASSERT_TRUE(desktop->shows("PAIRING CODE")) << "the second launch opens on the panel";
  EXPECT_FALSE(desktop->object(kGuideButton));
}

TEST_F(DesktopUi, aPhonePairsWhileTheWindowIsLookedAt) {
  startOnThePanel();
  ASSERT_TRUE(desktop->shows("Ready"));
  const auto code = now().pairingCode;
  EXPECT_TRUE(desktop->object(code));
  EXPECT_EQ(greenPixelsBeside("Ready"), 0);

  ASSERT_EQ(pair(code).exitStatus, 0);
  ASSERT_TRUE(eventuallySeen([&] { return now().pairingCode != code; }));
  EXPECT_TRUE(desktop->shows(now().pairingCode)) << "the next phone needs another code";
  EXPECT_FALSE(desktop->object(code));

  const auto connected = phone({"raw"});
  ASSERT_TRUE(desktop->shows("CONNECTED"));
  EXPECT_TRUE(eventuallySeen([this] { return greenPixelsBeside("Connected") > 20; }));
  connected->closeInput();
  connected->terminate();
  ASSERT_TRUE(desktop->shows("Ready"));
  EXPECT_TRUE(eventuallySeen([this] { return greenPixelsBeside("Ready") == 0; }));
}

TEST_F(DesktopUi, controlsActByPointerByKeyboardAndThroughAScreenReader) {
  desktop = std::make_unique<UiDesktop>();
  const auto logind = test::DBusMock::ofTemplate(desktop->bus(), "logind");
  setGuideCompleted();
  startCompanion();
  constexpr auto kToggle = "Keep running after screen lock";

  ASSERT_TRUE(desktop->click("Copy code"));
  EXPECT_TRUE(eventuallySeen([this] { return desktop->clipboard() == now().pairingCode; }));

  const auto isToggle = [](const auto& each) { return each.name == kToggle && each.role == "check box"; };
  const auto toggle = [&] {
    const auto all = desktop->objects();
    const auto found = std::find_if(all.begin(), all.end(), isToggle);
    return found == all.end() ? test::AccessibleObject() : *found;
  };
  ASSERT_TRUE(eventuallySeen([&] { return toggle().width > 0; }));
  const auto place = toggle();
  desktop->clickAt(place.x + place.width - 12, place.y + place.height / 2);
  EXPECT_TRUE(eventuallySeen([&] { return now().keepAwakeOn && toggle().is("checked"); }))
      << "by the pointer";
  EXPECT_TRUE(eventuallySeen([&] {
    if (toggle().is("focused")) return true;
    desktop->key("Tab");
    return false;
  }));
  desktop->key("space");
  EXPECT_TRUE(eventuallySeen([&] { return !now().keepAwakeOn && !toggle().is("checked"); }))
      << "by the keyboard";
  const auto pressed =
      desktop->run("/usr/bin/python3", {TEVANTO_ACCESSIBLE_TREE, "Tevanto", "press", kToggle});
  EXPECT_EQ(pressed.exitStatus, 0) << pressed.output;
  EXPECT_TRUE(eventuallySeen([this] { return now().keepAwakeOn; })) << "by a screen reader";

  for (const auto& each : desktop->objects()) {
    if (!each.is("focusable") || each.role == "frame" || each.role == "label") continue;
    EXPECT_FALSE(each.name.empty()) << "a " << each.role << " without a name";
  }
  ASSERT_TRUE(desktop->click("Quit"));
  EXPECT_EQ(companion->wait(), 0);
}

TEST_F(DesktopUi, aSwitchThatIsRefusedFallsBack) {
  startOnThePanel();  // nobody here keeps computers awake
  ASSERT_TRUE(desktop->shows("Keep running after screen lock"));
  desktop->run("/usr/bin/python3",
               {TEVANTO_ACCESSIBLE_TREE, "Tevanto", "press", "Keep running after screen lock"});
  ASSERT_TRUE(eventuallySeen([this] { return now().keepAwakeStatusText.find("Couldn't") == 0; }))
      << now().keepAwakeStatusText;
  EXPECT_TRUE(eventuallySeen([this] {
    const auto all = desktop->objects();
    return !all.empty() && std::none_of(all.begin(), all.end(), [](const auto& each) {
      return each.name == "Keep running after screen lock" && each.is("checked");
    });
  }));
  EXPECT_FALSE(now().keepAwakeOn);
}

TEST_F(DesktopUi, aClickOnAnXembedIconOpensThePanel) {
  startOnThePanel(UiDesktop::Tray::xembed);
  openPanel();
  const auto panel = desktop->object("Open setup window");
  EXPECT_LT(panel->x + panel->width, 1280);
  EXPECT_GT(panel->x, 900) << "beside the icon";
  desktop->key("Escape");
  EXPECT_TRUE(desktop->ceasesToShow("Open setup window"));
}

TEST_F(DesktopUi, theMenuOfTheIconDisconnectsThePhone) {
  startOnThePanel(UiDesktop::Tray::xembed);
  ASSERT_EQ(pair(now().pairingCode).exitStatus, 0);
  const auto connected = phone({"raw"});
  ASSERT_TRUE(eventuallySeen([this] { return now().isClientConnected; }));
  const auto [x, y] = desktop->trayIcon();
  ASSERT_TRUE(desktop->showsTrayIcon());
  // The menu's first entry is the one.
  EXPECT_TRUE(eventuallySeen([&, x = x, y = y] {
    desktop->clickAt(x, y, 3);
    desktop->key("Down");
    desktop->key("Return");
    return test::eventually([this] { return !now().isClientConnected; }, std::chrono::seconds(2));
  }));
  EXPECT_TRUE(eventuallySeen([&] { return !connected->isRunning(); }));
}

class StatusNotifierUi : public DesktopUi {
 protected:
  static constexpr auto kItemPath = "/StatusNotifierItem";

  /// The bus name of the companion's item; empty while the tray has none.
  std::string item() const {
    const auto items = desktop->bus().call(
        "org.kde.StatusNotifierWatcher", "/StatusNotifierWatcher", "org.freedesktop.DBus.Properties.Get",
        {"org.kde.StatusNotifierWatcher", "RegisteredStatusNotifierItems"});
    const auto from = items.find(":1.");
    return from == std::string::npos ? "" : items.substr(from, items.find('/', from) - from);
  }
  std::string property(const std::string& name) const {
    return desktop->bus().call(item(), kItemPath, "org.freedesktop.DBus.Properties.Get",
                               {"org.kde.StatusNotifierItem", name});
  }
};

TEST_F(StatusNotifierUi, theIconTellsWhatThePersonAtTheDeskMustKnow) {
  startOnThePanel(UiDesktop::Tray::statusNotifier);
  ASSERT_TRUE(eventuallySeen([this] { return !item().empty(); }));
  EXPECT_THAT(property("ToolTip"), HasSubstr("Tevanto: no phone is connected"));
  const auto idle = property("IconPixmap");
  ASSERT_EQ(pair(now().pairingCode).exitStatus, 0);
  {
    const auto connected = phone({"raw"});
    EXPECT_TRUE(eventuallySeen([this] {
      return property("ToolTip").find("a phone is connected; your screen is not mirrored") !=
             std::string::npos;
    }));
    EXPECT_NE(property("IconPixmap"), idle);
  }
  const auto mirroring = phone({"mirror", "--screen-host", "127.0.0.1:" + std::to_string(now().screenPort),
                                "--out", (desktop->configFolder() / "seen.h264").string()});
  EXPECT_TRUE(eventuallySeen(
      [this] { return property("ToolTip").find("your screen is being mirrored") != std::string::npos; }));
  mirroring->terminate();
  EXPECT_TRUE(eventuallySeen(
      [this] { return property("ToolTip").find("no phone is connected") != std::string::npos; }));
  EXPECT_EQ(property("IconPixmap"), idle);
}

TEST_F(StatusNotifierUi, aClickOnTheIconOpensThePanelAtThePointer) {
  startOnThePanel(UiDesktop::Tray::statusNotifier);
  ASSERT_TRUE(eventuallySeen([this] { return !item().empty(); }));
  openPanel();
  EXPECT_LT(desktop->object("Open setup window")->x, 100);
  ASSERT_TRUE(desktop->click("Quit"));
  EXPECT_EQ(companion->wait(), 0);
}

TEST_F(StatusNotifierUi, anIconAppearsInATrayThatComesLater) {
  startOnThePanel();
  EXPECT_FALSE(desktop->bus().hasOwner("org.kde.StatusNotifierWatcher"));
  desktop->startTray(UiDesktop::Tray::statusNotifier);
  // Of either kind: such a panel has both.
  EXPECT_TRUE(desktop->showsTrayIcon());
}

TEST_F(DesktopUi, withoutATrayTheWindowIsClosedAndFoundAgain) {
  startOnThePanel();
  ASSERT_TRUE(desktop->shows("Quit"));
  ASSERT_TRUE(closeWindow());
  EXPECT_NE(now().remotePort, 0) << "it goes on";
  // The first window stays another program's: a second start has to bring ours before it.
  const auto output = tevanto({"--loopback-only"}).output;
  EXPECT_THAT(output, HasSubstr("Tevanto runs already"));
  EXPECT_TRUE(desktop->shows("Quit"));
  EXPECT_TRUE(eventuallySeen([this] { return desktop->activeWindow() == "Tevanto"; }));
}

TEST_F(DesktopUi, aSecondStartBringsTheWindowBeforeTheOthers) {
  startOnThePanel();
  ASSERT_TRUE(desktop->shows("Quit"));
  const test::ChildProcess other({"xterm", "-title", "Other", "-geometry", "100x40+300+100"},
                                 desktop->options());
  ASSERT_TRUE(eventuallySeen([this] { return desktop->activeWindow() == "Other"; }));
  ASSERT_EQ(tevanto({"--loopback-only"}).exitStatus, 0);
  EXPECT_TRUE(eventuallySeen([this] { return desktop->activeWindow() == "Tevanto"; }));
}

TEST_F(DesktopUi, theDoctorTellsWhatTheDesktopHas) {
  desktop = std::make_unique<UiDesktop>();
  auto told = tevanto({"doctor", "--remote-port", "0", "--screen-port", "0"}).output;
  for (const auto* found : {"no tray was found", " fonts; texts in ", "no settings portal answers",
                            "windows are drawn at 100 %; the desktop sets no Xft.dpi"}) {
    EXPECT_THAT(told, HasSubstr(found));
  }
  desktop->startTray(UiDesktop::Tray::xembed);
  desktop->run("sh", {"-c", "printf 'Xft.dpi:\\t144\\n' | xrdb -nocpp -merge"});
  EXPECT_TRUE(eventuallySeen([&] {
    told = tevanto({"doctor", "--remote-port", "0", "--screen-port", "0"}).output;
    return told.find("an XEmbed tray was found") != std::string::npos;
  }));
  EXPECT_THAT(told, HasSubstr("windows are drawn at 150 %, by the resource Xft.dpi"));
}

TEST_F(DesktopUi, goesOnWithoutItsDisplayAndGivesWayToOneThatHasOne) {
  startOnThePanel();
  ASSERT_TRUE(desktop->shows("Quit"));
  const auto before = now();
  desktop->display().kill();
  EXPECT_TRUE(eventuallySeen([&] {
    return now().remotePort == before.remotePort && !now().isAccessibilityTrusted;
  })) << "it starts anew, on the same port";
  EXPECT_EQ(now().processID, companion->pid()) << "the same process";

  desktop->display().restart();
  const auto old = std::move(companion);
  startCompanion();
  EXPECT_TRUE(eventuallySeen([&] { return now().processID == companion->pid(); }));
  EXPECT_EQ(old->wait(), 0);
  EXPECT_TRUE(desktop->shows("Quit"));
}

}  // namespace
}  // namespace tevanto
