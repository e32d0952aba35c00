#include "platform/linux/desktop/shortcuts/DesktopPreferences.h"

#include <gio/gio.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "control/InputEvents.h"
#include "control/SymbolicHotKeys.h"
#include "platform/linux/input/VirtualKeyCodes.h"
#include "tests/support/programs/TemporaryFolder.h"

namespace tevanto {
namespace {

constexpr int kAppWindows = 34;
constexpr int kShowDesktop = 36;
constexpr int kSpaceLeft = 79;
constexpr int kSpaceRight = 81;

using KeyStroke = SymbolicHotKeys::KeyStroke;

/// What the input controller makes of the preferences.
class DesktopPreferencesTest : public testing::Test {
 protected:
  static void SetUpTestSuite() { ::setenv("GSETTINGS_BACKEND", "memory", 1); }  // never the user's own

  SymbolicHotKeys::Lookup find(const std::string& desktop, int identifier) {
    DesktopFolders folders;
    folders.configHome = (folder / "home").string();
    folders.configFolders = {(folder / "system").string()};
    DesktopPreferences preferences({desktop, folders});
    return SymbolicHotKeys(preferences).find(identifier);
  }
  void write(const std::string& path, const std::string& content) {
    std::filesystem::create_directories((folder / path).parent_path());
    std::ofstream(folder / path) << content;
  }
  template <class Expected>
  static bool is(const SymbolicHotKeys::Lookup& found) {
    return std::holds_alternative<Expected>(found);
  }
  static void expectStroke(const SymbolicHotKeys::Lookup& found, const KeyStroke& stroke) {
    ASSERT_TRUE(is<KeyStroke>(found));
    EXPECT_EQ(std::get<KeyStroke>(found), stroke);
  }
  static std::string xfce(const std::string& list, const std::string& accelerator) {
    return "<channel name=\"xfce4-keyboard-shortcuts\" version=\"1.0\"><property name=\"xfwm4\" "
           "type=\"empty\"><property name=\"" +
           list + "\" type=\"empty\"><property name=\"" + accelerator +
           "\" type=\"string\" value=\"left_workspace_key\"/></property></property></channel>";
  }

  test::TemporaryFolder folder;
};

TEST_F(DesktopPreferencesTest, otherDomainsAndKeysAreAbsent) {
  DesktopPreferences preferences({"GNOME", {}});
  EXPECT_FALSE(preferences.value("AppleSymbolicHotKeys", "com.example"));
  EXPECT_FALSE(preferences.value("Other", "com.apple.symbolichotkeys"));
  EXPECT_TRUE(preferences.value("AppleSymbolicHotKeys", "com.apple.symbolichotkeys"));
}

TEST_F(DesktopPreferencesTest, otherDesktopsDefineNothing) {
  for (const auto* desktop : {"", "openbox", "LXDE", "gnome"})
    EXPECT_TRUE(is<SymbolicHotKeys::NotDefined>(find(desktop, kSpaceLeft))) << desktop;
}

TEST_F(DesktopPreferencesTest, plasmaShortcutsAreReadAfresh) {
  EXPECT_TRUE(is<SymbolicHotKeys::NotDefined>(find("KDE", kSpaceLeft)));
  write("home/kglobalshortcutsrc",
        "[kwin]\nExposeClass=Ctrl+F7,,x\nShow Desktop=Meta+D,,x\n"
        "Switch One Desktop to the Left=Hyper+Left\\tMeta+Ctrl+Left,,x\n"
        "Switch One Desktop to the Right=none,,x\n");
  expectStroke(find("KDE", kAppWindows), {98, {RemoteModifier::control}});
  expectStroke(find("KDE", kShowDesktop), {2 | kSuperKeyBit, {}});
  expectStroke(find("KDE", kSpaceLeft), {123 | kSuperKeyBit, {RemoteModifier::control}});
  EXPECT_TRUE(is<SymbolicHotKeys::Disabled>(find("KDE", kSpaceRight)));
  write("home/kglobalshortcutsrc", "[kwin]\nShow Desktop=F11,,x\n");
  expectStroke(find("KDE", kShowDesktop), {103, {}});
  EXPECT_TRUE(is<SymbolicHotKeys::NotDefined>(find("KDE", kSpaceLeft)));
}

TEST_F(DesktopPreferencesTest, aShortcutThatNoKeyEventExpressesIsDisabled) {
  write("home/kglobalshortcutsrc", "[kwin]\nShow Desktop=Media Play,,x\n");
  EXPECT_TRUE(is<SymbolicHotKeys::Disabled>(find("KDE", kShowDesktop)));
}

TEST_F(DesktopPreferencesTest, xfceShortcutsComeFromTheUserThenFromTheSystem) {
  const std::string file = "/xfce4/xfconf/xfce-perchannel-xml/xfce4-keyboard-shortcuts.xml";
  EXPECT_TRUE(is<SymbolicHotKeys::NotDefined>(find("XFCE", kSpaceLeft)));
  write("system" + file, xfce("default", "&lt;Primary&gt;&lt;Alt&gt;Left"));
  expectStroke(find("XFCE", kSpaceLeft), {123, {RemoteModifier::control, RemoteModifier::option}});
  EXPECT_TRUE(is<SymbolicHotKeys::Disabled>(find("XFCE", kShowDesktop)));
  write("home" + file, xfce("custom", "&lt;Super&gt;&lt;Shift&gt;F1"));
  expectStroke(find("XFCE", kSpaceLeft), {122 | kSuperKeyBit, {RemoteModifier::shift}});
}

TEST_F(DesktopPreferencesTest, gnomeShortcutsAreReadAfresh) {
  const auto set = [](const char* key, std::vector<const char*> accelerators) {
    accelerators.push_back(nullptr);
    GSettings* settings = g_settings_new("org.gnome.desktop.wm.keybindings");
    ASSERT_TRUE(g_settings_set_strv(settings, key, accelerators.data()));
    g_object_unref(settings);
  };
  set("switch-to-workspace-left", {"<Hyper>Left", "<Super>Page_Up", "<Control><Alt>Left"});
  expectStroke(find("ubuntu:GNOME", kSpaceLeft), {116 | kSuperKeyBit, {}});
  set("switch-to-workspace-left", {"<Control><Alt>Left"});
  expectStroke(find("GNOME", kSpaceLeft), {123, {RemoteModifier::control, RemoteModifier::option}});
  set("switch-to-workspace-left", {});
  EXPECT_TRUE(is<SymbolicHotKeys::Disabled>(find("GNOME", kSpaceLeft)));
  set("switch-to-workspace-left", {""});
  EXPECT_TRUE(is<SymbolicHotKeys::Disabled>(find("GNOME", kSpaceLeft)));
  set("switch-group", {"<Alt>Above_Tab"});
  expectStroke(find("GNOME", kAppWindows), {50, {RemoteModifier::option}});
  set("show-desktop", {"<Super>d"});
  expectStroke(find("GNOME", kShowDesktop), {2 | kSuperKeyBit, {}});
  set("switch-to-workspace-right", {"<Control><Alt>Right"});
  expectStroke(find("GNOME", kSpaceRight), {124, {RemoteModifier::control, RemoteModifier::option}});
}

}  // namespace
}  // namespace tevanto
