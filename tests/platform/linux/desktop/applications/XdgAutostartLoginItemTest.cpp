#include "platform/linux/desktop/applications/XdgAutostartLoginItem.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <sstream>

#include "tests/support/programs/ChildProcess.h"
#include "tests/support/programs/Eventually.h"
#include "tests/support/programs/TemporaryFolder.h"

namespace tevanto {

void PrintTo(LoginItemStatus status, std::ostream* out) {
  constexpr const char* kNames[] = {"notRegistered", "enabled", "requiresApproval", "notFound", "unknown"};
  *out << kNames[static_cast<int>(status)];
}

namespace {

namespace fs = std::filesystem;

std::string contentOf(const fs::path& file) {
  std::ifstream stream(file);
  std::stringstream content;
  content << stream.rdbuf();
  return content.str();
}

bool hasLine(const fs::path& file, const std::string& line) {
  return ("\n" + contentOf(file)).find("\n" + line + "\n") != std::string::npos;
}

/// A program that writes its arguments, one a line, into the file "started" beside the folder `home`.
void writeProgram(const fs::path& program, const fs::path& started) {
  fs::create_directories(program.parent_path());
  std::ofstream(program) << "#!/bin/sh\nfor argument; do echo \"$argument\"; done > '" << started.string()
                         << ".part'\nmv '" << started.string() << ".part' '" << started.string() << "'\n";
  fs::permissions(program, fs::perms::owner_all);
}

class XdgAutostartLoginItemTest : public testing::Test {
 protected:
  XdgAutostartLoginItemTest() { writeProgram(program(), folder_ / "started"); }

  fs::path program() const { return folder_ / "usr/bin/tevanto"; }
  fs::path entry() const { return folder_ / "config/autostart/app.tevanto.Tevanto.desktop"; }
  fs::path systemEntry() const { return folder_ / "xdg/autostart/app.tevanto.Tevanto.desktop"; }
  XdgAutostartLoginItem::Surroundings surroundings() const {
    return {folder_ / "config", {folder_ / "none", folder_ / "xdg"}, program(), {}, {folder_ / "usr"}, ""};
  }
  XdgAutostartLoginItem item() const { return XdgAutostartLoginItem(surroundings()); }
  void write(const fs::path& file, const std::string& content) const {
    fs::create_directories(file.parent_path());
    std::ofstream(file) << content;
  }
  std::string entryFor(const std::string& more) const {
    return "[Desktop Entry]\nType=Application\nName=Tevanto\nExec=" + program().string() + "\n" + more;
  }

  test::TemporaryFolder folder_;
};

TEST_F(XdgAutostartLoginItemTest, isNotRegisteredWithoutAnEntry) {
  EXPECT_EQ(item().status(), LoginItemStatus::notRegistered);
}

TEST_F(XdgAutostartLoginItemTest, isEnabledOnceRegisteredAndNotAfterwards) {
  ASSERT_TRUE(item().registerItem());
  EXPECT_EQ(item().status(), LoginItemStatus::enabled);
  EXPECT_TRUE(hasLine(entry(), "Exec=" + program().string()));
  EXPECT_TRUE(hasLine(entry(), "Type=Application"));
  EXPECT_TRUE(hasLine(entry(), "Terminal=false"));
  ASSERT_TRUE(item().registerItem()) << "again";
  EXPECT_EQ(item().status(), LoginItemStatus::enabled);

  ASSERT_TRUE(item().unregisterItem());
  EXPECT_FALSE(fs::exists(entry()));
  EXPECT_EQ(item().status(), LoginItemStatus::notRegistered);
  EXPECT_TRUE(item().unregisterItem()) << "again";
}

TEST_F(XdgAutostartLoginItemTest, leavesNothingElseBesideTheEntry) {
  ASSERT_TRUE(item().registerItem());
  EXPECT_EQ(std::distance(fs::directory_iterator(entry().parent_path()), fs::directory_iterator()), 1);
}

TEST_F(XdgAutostartLoginItemTest, requiresApprovalWhenTheDesktopHasSwitchedItOff) {
  for (const char* off :
       {"Hidden=true\n", "X-GNOME-Autostart-enabled=false\n", "X-MATE-Autostart-enabled=false\n",
        "Hidden=true\nX-GNOME-Autostart-enabled=true\n"}) {
    SCOPED_TRACE(off);
    write(entry(), entryFor(off));
    EXPECT_EQ(item().status(), LoginItemStatus::requiresApproval);
    ASSERT_TRUE(item().registerItem());
    EXPECT_EQ(item().status(), LoginItemStatus::requiresApproval) << "the user's switch stays as it is";
    EXPECT_NE(contentOf(entry()).find(off), std::string::npos) << contentOf(entry());
  }
  for (const char* on : {"Hidden=false\n", "X-GNOME-Autostart-enabled=true\n", "Hidden=perhaps\n"}) {
    SCOPED_TRACE(on);
    write(entry(), entryFor(on));
    EXPECT_EQ(item().status(), LoginItemStatus::enabled);
  }
}

TEST_F(XdgAutostartLoginItemTest, keepsWhatTheDesktopAddedToTheEntry) {
  write(entry(), entryFor("Name[de]=Tevanto!\nX-GNOME-Autostart-Delay=5\nRunHook=0\n"));
  ASSERT_TRUE(item().registerItem());
  EXPECT_TRUE(hasLine(entry(), "X-GNOME-Autostart-Delay=5"));
  EXPECT_TRUE(hasLine(entry(), "Name[de]=Tevanto!"));
  EXPECT_TRUE(hasLine(entry(), "RunHook=0"));
}

TEST_F(XdgAutostartLoginItemTest, isNotFoundWhereItDoesNotRunFromAnInstalledPlace) {
  auto built = surroundings();
  built.program = folder_ / "build/bin/tevanto";
  writeProgram(built.program, folder_ / "started");
  XdgAutostartLoginItem login(built);
  EXPECT_EQ(login.status(), LoginItemStatus::notFound);
  EXPECT_FALSE(login.registerItem());
  EXPECT_FALSE(fs::exists(entry()));
  built.program = folder_ / "usr2/bin/tevanto";
  EXPECT_EQ(XdgAutostartLoginItem(built).status(), LoginItemStatus::notFound) << "only begins like /usr";
  built.program = folder_ / "usr/../build/bin/tevanto";
  EXPECT_EQ(XdgAutostartLoginItem(built).status(), LoginItemStatus::notFound);

  fs::create_directory_symlink(folder_ / "usr/bin", folder_ / "bin");
  built.program = folder_ / "bin/tevanto";
  EXPECT_EQ(XdgAutostartLoginItem(built).status(), LoginItemStatus::notRegistered)
      << "a link to an installed place";
}

TEST_F(XdgAutostartLoginItemTest, isUnknownWhereTheEntryCannotBeRead) {
  fs::create_directories(entry() / "a-folder-in-its-place");
  EXPECT_EQ(item().status(), LoginItemStatus::unknown);
  EXPECT_FALSE(item().registerItem());
  EXPECT_FALSE(item().unregisterItem());
  fs::remove_all(folder_ / "config");
  write(folder_ / "config/autostart", "a file in place of the folder");
  EXPECT_EQ(item().status(), LoginItemStatus::unknown);
  EXPECT_FALSE(item().registerItem());
}

TEST_F(XdgAutostartLoginItemTest, anEntryThatStartsNothingIsRegisteredAnew) {
  const std::string entries[] = {"",
                                 "no entry at all",
                                 "[Other Group]\nExec=/bin/true\n",
                                 "[Desktop Entry]\nType=Application\n",
                                 "[Desktop Entry]\nExec=" + (folder_ / "usr/bin/moved").string() + "\n",
                                 "[Desktop Entry]\nExec=\"unfinished\n",
                                 "[Desktop Entry]\nExec=\n"};
  for (const auto& content : entries) {
    SCOPED_TRACE(content);
    write(entry(), content);
    EXPECT_EQ(item().status(), LoginItemStatus::notRegistered);
    ASSERT_TRUE(item().registerItem());
    EXPECT_EQ(item().status(), LoginItemStatus::enabled);
    EXPECT_TRUE(hasLine(entry(), "Exec=" + program().string()));
  }
}

TEST_F(XdgAutostartLoginItemTest, anEntryOfTheSystemCounts) {
  write(systemEntry(), entryFor(""));
  EXPECT_EQ(item().status(), LoginItemStatus::enabled);
  write(systemEntry(), entryFor("Hidden=true\n"));
  EXPECT_EQ(item().status(), LoginItemStatus::requiresApproval);
  write(systemEntry(), entryFor(""));
  write(entry(), entryFor("Hidden=true\n"));
  EXPECT_EQ(item().status(), LoginItemStatus::requiresApproval) << "the user's entry hides the system's";
}

TEST_F(XdgAutostartLoginItemTest, takesBackAnEntryOfTheSystemAndGivesItAgain) {
  write(systemEntry(), entryFor(""));
  ASSERT_TRUE(item().unregisterItem());
  EXPECT_TRUE(hasLine(entry(), "Hidden=true")) << "else the desktop would start the system's";
  EXPECT_EQ(item().status(), LoginItemStatus::notRegistered);
  ASSERT_TRUE(item().registerItem());
  EXPECT_FALSE(hasLine(entry(), "Hidden=true"));
  EXPECT_EQ(item().status(), LoginItemStatus::enabled);
}

/// GLib's own reader of desktop entries starts what was written.
TEST_F(XdgAutostartLoginItemTest, theDesktopStartsTheProgramWithItsArguments) {
  const std::string names[] = {"plain",       "with space", "it's",      "a\"quote",      "do$HOME`ls`",
                               "back\\slash", "100%F",      "tab\there", "(x);&|<y>*?#~", "naïve-名"};
  for (const auto& name : names) {
    SCOPED_TRACE(name);
    auto odd = surroundings();
    // GLib looks for a program with a percent sign under its name as written, with two of them.
    const bool isReadWrong = name.find('%') != name.npos;
    odd.program = folder_ / "usr" / (isReadWrong ? "plain" : name) / "tevanto";
    odd.arguments = {"--headless", name, ""};
    writeProgram(odd.program, folder_ / "started");
    XdgAutostartLoginItem login(odd);
    ASSERT_TRUE(login.registerItem());
    EXPECT_EQ(login.status(), LoginItemStatus::enabled);

    test::ChildProcess::Options options;
    options.environment = {{"DBUS_SESSION_BUS_ADDRESS", "none:"}, {"HOME", folder_.path().string()}};
    const auto launched = test::runProgram({"gio", "launch", entry().string()}, std::move(options));
    EXPECT_EQ(launched.exitStatus, 0) << contentOf(entry());
    ASSERT_TRUE(test::eventually([&] { return fs::exists(folder_ / "started"); })) << contentOf(entry());
    EXPECT_EQ(contentOf(folder_ / "started"), "--headless\n" + name + "\n\n");
    fs::remove(folder_ / "started");
    fs::remove(entry());
  }
}

class PathWith {
 public:
  explicit PathWith(const std::string& path) { ::setenv("PATH", path.c_str(), 1); }
  ~PathWith() { ::setenv("PATH", saved_.c_str(), 1); }

 private:
  const std::string saved_ = std::getenv("PATH");
};

TEST_F(XdgAutostartLoginItemTest, opensTheSettingsOfTheDesktopThatRuns) {
  const PathWith path((folder_ / "tools").string() + ":/usr/bin:/bin");
  for (const char* tool : {"xfce4-session-settings", "kcmshell5", "mate-session-properties"}) {
    writeProgram(folder_ / "tools" / tool, folder_ / tool);
  }
  struct Case {
    const char* desktop;
    const char* tool;
    const char* arguments;
  };
  for (const auto& c :
       {Case{"XFCE", "xfce4-session-settings", ""}, Case{"KDE", "kcmshell5", "kcm_autostart\n"},
        Case{"debian:MATE", "mate-session-properties", ""}, Case{"LXQt", "xfce4-session-settings", ""},
        Case{"", "xfce4-session-settings", ""}}) {
    SCOPED_TRACE(c.desktop);
    auto here = surroundings();
    here.currentDesktop = c.desktop;
    XdgAutostartLoginItem(here).openSettings();
    ASSERT_TRUE(test::eventually([&] { return fs::exists(folder_ / c.tool); }));
    EXPECT_EQ(contentOf(folder_ / c.tool), c.arguments);
    fs::remove(folder_ / c.tool);
  }
}

TEST_F(XdgAutostartLoginItemTest, withoutSettingsOfTheDesktopNothingHappens) {
  const PathWith path((folder_ / "empty").string());
  item().openSettings();
  EXPECT_FALSE(fs::exists(entry()));
}

TEST(XdgAutostartSurroundings, followTheEnvironment) {
  ::setenv("HOME", "/home/ada", 1);
  ::setenv("XDG_CONFIG_HOME", "relative", 1);
  ::setenv("XDG_CONFIG_DIRS", "/etc/a::also-relative:/etc/b", 1);
  ::setenv("XDG_CURRENT_DESKTOP", "XFCE", 1);
  auto found = XdgAutostartLoginItem::Surroundings::ofThisProcess();
  EXPECT_EQ(found.configHome, "/home/ada/.config");
  EXPECT_EQ(found.configFolders, (std::vector<fs::path>{"/etc/a", "/etc/b"}));
  EXPECT_EQ(found.program.filename(), "linux_desktop_applications_tests");
  EXPECT_EQ(found.currentDesktop, "XFCE");
  EXPECT_NE(std::find(found.installedPlaces.begin(), found.installedPlaces.end(), "/usr"),
            found.installedPlaces.end());
  ::setenv("XDG_CONFIG_HOME", "/cfg", 1);
  ::unsetenv("XDG_CONFIG_DIRS");
  found = XdgAutostartLoginItem::Surroundings::ofThisProcess();
  EXPECT_EQ(found.configHome, "/cfg");
  EXPECT_EQ(found.configFolders, (std::vector<fs::path>{"/etc/xdg"}));
}

}  // namespace
}  // namespace tevanto
