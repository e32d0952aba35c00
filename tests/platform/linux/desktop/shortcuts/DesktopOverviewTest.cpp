#include "platform/linux/desktop/shortcuts/DesktopOverview.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "platform/linux/dbus/BusConnection.h"
#include "tests/support/desktop/DBusMock.h"
#include "tests/support/fakes/ManualQueue.h"
#include "tests/support/programs/Eventually.h"
#include "tests/support/programs/TemporaryFolder.h"

namespace tevanto {
namespace {

using Kind = DesktopOverview::Kind;
constexpr auto kShell = "org.gnome.Shell";

class DesktopOverviewTest : public testing::Test {
 protected:
  std::shared_ptr<DesktopOverview> overviewOf(const std::string& desktop) {
    return DesktopOverview::of(desktop, BusAddress::session(bus.address()), queue, Logger());
  }
  void open(const std::string& desktop, Kind kind) {
    overviewOf(desktop)->open(kind);
    queue->runPending();
  }

  test::PrivateBus bus;
  std::shared_ptr<test::ManualQueue> queue = std::make_shared<test::ManualQueue>("background");
};

bool has(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

TEST_F(DesktopOverviewTest, otherDesktopsHaveNone) {
  for (const auto kind : {Kind::windows, Kind::applications}) {
    EXPECT_FALSE(overviewOf("openbox")->available(kind));
    open("openbox", kind);
  }
}

TEST_F(DesktopOverviewTest, aDesktopThatDoesNotRunHasNone) {
  for (const auto* desktop : {"GNOME", "KDE"}) {
    EXPECT_FALSE(overviewOf(desktop)->available(Kind::windows)) << desktop;
    open(desktop, Kind::windows);
  }
}

TEST_F(DesktopOverviewTest, gnomeTogglesItsOverview) {
  test::DBusMock shell(bus, kShell, "/org/gnome/Shell", kShell);
  shell.addProperties(kShell, "{'OverviewActive': <false>}");
  EXPECT_TRUE(overviewOf("GNOME")->available(Kind::windows));
  const auto active = [&] {
    return shell.call("org.freedesktop.DBus.Properties.Get", {kShell, "OverviewActive"});
  };
  open("GNOME", Kind::windows);
  EXPECT_TRUE(has(active(), "true"));
  open("GNOME", Kind::windows);
  EXPECT_TRUE(has(active(), "false"));
}

TEST_F(DesktopOverviewTest, gnomeShowsItsApplications) {
  test::DBusMock shell(bus, kShell, "/org/gnome/Shell", kShell);
  shell.addProperties(kShell, "{'OverviewActive': <false>}");
  shell.addMethod({kShell, "ShowApplications", "", ""});
  open("GNOME", Kind::applications);
  EXPECT_TRUE(has(shell.calls(), "ShowApplications"));
  EXPECT_TRUE(has(shell.call("org.freedesktop.DBus.Properties.Get", {kShell, "OverviewActive"}), "false"));
}

TEST_F(DesktopOverviewTest, gnomeShowsItsOverviewWhereItKeepsItsApplicationsToItself) {
  test::DBusMock shell(bus, kShell, "/org/gnome/Shell", kShell);
  shell.addProperties(kShell, "{'OverviewActive': <false>}");
  open("GNOME", Kind::applications);  // there is no such method
  EXPECT_TRUE(has(shell.call("org.freedesktop.DBus.Properties.Get", {kShell, "OverviewActive"}), "true"));
}

class PlasmaOverviewTest : public DesktopOverviewTest {
 protected:
  void addShortcuts(const std::string& names) {
    shortcuts.addMethod({kInterface, "shortcutNames", "", "as", "ret = " + names});
    shortcuts.addMethod({kInterface, "invokeShortcut", "s", ""});
  }
  static constexpr auto kInterface = "org.kde.kglobalaccel.Component";
  test::DBusMock shortcuts{bus, "org.kde.kglobalaccel", "/component/kwin", kInterface};
};

TEST_F(PlasmaOverviewTest, invokesTheOverview) {
  addShortcuts("['Expose', 'ExposeAll', 'Overview']");
  EXPECT_TRUE(overviewOf("KDE")->available(Kind::windows));
  open("KDE", Kind::windows);
  EXPECT_TRUE(has(shortcuts.calls(), "'Overview'")) << shortcuts.calls();
}

TEST_F(PlasmaOverviewTest, spreadsTheWindowsWhereThereIsNoOverviewYet) {
  addShortcuts("['Expose', 'ExposeAll']");
  open("KDE", Kind::windows);
  EXPECT_TRUE(has(shortcuts.calls(), "'ExposeAll'")) << shortcuts.calls();
}

TEST_F(PlasmaOverviewTest, opensTheLauncher) {
  EXPECT_FALSE(overviewOf("KDE")->available(Kind::applications));
  test::DBusMock shell(bus, "org.kde.plasmashell", "/PlasmaShell", "org.kde.PlasmaShell");
  shell.addMethod({"org.kde.PlasmaShell", "activateLauncherMenu", "", ""});
  EXPECT_TRUE(overviewOf("KDE")->available(Kind::applications));
  open("KDE", Kind::applications);
  EXPECT_TRUE(has(shell.calls(), "activateLauncherMenu"));
}

TEST_F(DesktopOverviewTest, xfceStartsTheProgramsThatAreInstalled) {
  test::TemporaryFolder folder;
  const std::string before = std::getenv("PATH");
  ::setenv("PATH", (folder.path().string() + ":" + before).c_str(), 1);
  EXPECT_FALSE(overviewOf("XFCE")->available(Kind::applications));
  const auto program = folder / "xfce4-appfinder";
  const auto started = folder / "started";
  std::ofstream(program) << "#!/bin/sh\necho $$ $(cut -d ' ' -f 6 /proc/$$/stat) > '" << started.string()
                         << ".new'\nmv '" << started.string() << ".new' '" << started.string() << "'\n";
  std::filesystem::permissions(program, std::filesystem::perms::owner_all);
  EXPECT_TRUE(overviewOf("XFCE")->available(Kind::applications));
  EXPECT_FALSE(overviewOf("XFCE")->available(Kind::windows));
  open("XFCE", Kind::applications);
  EXPECT_TRUE(test::eventually([&] { return std::filesystem::exists(started); }));
  int process = 0;
  int session = -1;
  std::ifstream(started) >> process >> session;
  EXPECT_EQ(process, session);  // so that it does not end with this program
  ::setenv("PATH", before.c_str(), 1);
}

TEST(DesktopOverview, knowsItsLocations) {
  EXPECT_EQ(DesktopOverview::kindAt("/System/Applications/Mission Control.app"), Kind::windows);
  EXPECT_EQ(DesktopOverview::kindAt("/System/Applications/Launchpad.app"), Kind::applications);
  EXPECT_EQ(DesktopOverview::kindAt("/System/Applications/Other.app"), std::nullopt);
}

}  // namespace
}  // namespace tevanto
