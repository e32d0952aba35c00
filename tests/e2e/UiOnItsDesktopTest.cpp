#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>

#include "tests/e2e/UiFixture.h"
#include "tests/support/companion/StartupListener.h"

namespace tevanto {
namespace {

using test::DesktopUi;
using test::eventuallySeen;
using test::UiDesktop;
using ::testing::Contains;

/// How the companion gets on with the rest of the desktop: its tray, other windows, other programs.
class UiOnItsDesktop : public DesktopUi {};

TEST_F(UiOnItsDesktop, anXembedIconTellsUnderThePointerWhatThePersonAtTheDeskMustKnow) {
  startOnThePanel(UiDesktop::Tray::xembed);
  ASSERT_TRUE(desktop->showsTrayIcon());
  const auto [x, y] = desktop->trayIcon();
  // It comes when the pointer has moved on the icon and then rests.
  int step = 0;
  const auto restOnIcon = [&, x = x, y = y] {
    desktop->run("xdotool", {"mousemove", std::to_string(x - (step ^= 1)), std::to_string(y)});
    return test::eventually([this] { return desktop->object("Tevanto: no phone is connected").has_value(); },
                            std::chrono::seconds(3));
  };
  EXPECT_TRUE(test::eventually(restOnIcon, std::chrono::seconds(120)));
}

TEST_F(UiOnItsDesktop, thePanelClosesWhenThePersonTurnsToAnotherWindow) {
  startOnThePanel(UiDesktop::Tray::xembed);
  openPanel();
  const test::ChildProcess other({"xterm", "-title", "Other", "-geometry", "60x20+100+300"},
                                 desktop->options());
  ASSERT_TRUE(eventuallySeen([this] { return desktop->activeWindow() == "Other"; }));
  EXPECT_TRUE(desktop->ceasesToShow("Open setup window"));
  openPanel();
}

TEST_F(UiOnItsDesktop, thePanelHasNoBlackCornersWhereNothingIsTransparent) {
  startOnThePanel(UiDesktop::Tray::xembed);
  desktop->run("xsetroot", {"-solid", "#808080"});
  openPanel();
  const auto title = desktop->object("Device companion");
  ASSERT_TRUE(title);
  // From the title up and to the left, to the panel's corner and the desktop behind it.
  const auto seen = desktop->pixels(title->x - 90, title->y - 60, 90, 60);
  EXPECT_FALSE(seen.empty());
  EXPECT_EQ(std::count(seen.begin(), seen.end(), 0U), 0);
}

TEST_F(UiOnItsDesktop, theMenuOfTheIconOpensTheWindowAndQuits) {
  startOnThePanel(UiDesktop::Tray::xembed);
  ASSERT_TRUE(desktop->shows("Quit"));
  ASSERT_TRUE(closeWindow());
  const auto choose = [this](const char* key) {
    const auto [x, y] = desktop->trayIcon();
    desktop->clickAt(x, y, 3);
    desktop->key(key);
    desktop->key("Return");
  };
  ASSERT_TRUE(desktop->showsTrayIcon());
  // Without a phone the first entry cannot be chosen.
  EXPECT_TRUE(eventuallySeen([&] {
    choose("Down");
    return test::eventually([this] { return desktop->activeWindow() == "Tevanto"; }, std::chrono::seconds(2));
  }));
  EXPECT_TRUE(eventuallySeen([&] {
    choose("Up");
    return test::eventually([this] { return !companion->isRunning(); }, std::chrono::seconds(2));
  }));
  EXPECT_EQ(companion->wait(), 0);
}

TEST_F(UiOnItsDesktop, theDesktopLearnsThatAStartIsOver) {
  desktop = std::make_unique<UiDesktop>();
  setGuideCompleted();
  test::StartupListener listener(desktop->display().display());
  startCompanion({{"DESKTOP_STARTUP_ID", "launcher/tevanto/1-0-desk_TIME4711"}});
  EXPECT_TRUE(eventuallySeen([&] { return !listener.messages().empty(); })) << "the busy pointer would stay";
  EXPECT_THAT(listener.messages(), Contains("remove: ID=launcher/tevanto/1-0-desk_TIME4711"));
  ASSERT_TRUE(desktop->shows("Quit"));

  auto again = desktop->options();
  again.environment.emplace_back("DESKTOP_STARTUP_ID", "launcher/tevanto/2-0-desk_TIME4712");
  ASSERT_EQ(test::runProgram({test::kProgram, "--loopback-only"}, again).exitStatus, 0);
  EXPECT_TRUE(eventuallySeen([&] { return listener.messages().size() > 1; }));
  EXPECT_THAT(listener.messages(), Contains("remove: ID=launcher/tevanto/2-0-desk_TIME4712"));
}

TEST_F(UiOnItsDesktop, linksOpenInTheDesktopsPrograms) {
  desktop = std::make_unique<UiDesktop>();
  const auto folder = desktop->configFolder() / "bin";
  const auto opened = (folder / "opened").string();
  std::filesystem::create_directory(folder);
  std::ofstream(folder / "xdg-open") << "#!/bin/sh\necho \"$1\" >>" << opened << "\n";
  std::filesystem::permissions(folder / "xdg-open", std::filesystem::perms::owner_all);
  const auto openedSoFar = [&] {
    std::ifstream file(opened);
    return std::string(std::istreambuf_iterator<char>(file), {});
  };
  setGuideCompleted();
  startCompanion({{"PATH", folder.string() + ":" + std::getenv("PATH")},
                  {"TEVANTO_SUPPORT_MAIL", "desk@help.example"},
                  {"TEVANTO_TERMS_URL", "https://help.example/terms?of=use&a=b"}});
  std::string expected;
  for (const auto& [name, url] : {std::pair("Website", "https://tevanto.example"),
                                  {"Support", "mailto:desk@help.example"},
                                  {"Privacy", "https://tevanto.example/privacy"},
                                  {"Terms", "https://help.example/terms?of=use&a=b"}}) {
    ASSERT_TRUE(desktop->click(name));
    expected += std::string(url) + "\n";
    EXPECT_TRUE(eventuallySeen([&] { return openedSoFar() == expected; })) << openedSoFar();
  }
}

TEST_F(UiOnItsDesktop, speaksTheLanguageOfTheDesktop) {
  desktop = std::make_unique<UiDesktop>();
  setGuideCompleted();
  startCompanion({{"LC_ALL", "eo.UTF-8"}});
  EXPECT_TRUE(desktop->shows("⟦PAIRING CODE⟧"));
  EXPECT_TRUE(desktop->shows("⟦Quit⟧"));
}

}  // namespace
}  // namespace tevanto
