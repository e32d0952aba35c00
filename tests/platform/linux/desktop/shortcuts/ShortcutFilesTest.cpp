#include "platform/linux/desktop/shortcuts/ShortcutFiles.h"

#include <gmock/gmock.h>

namespace tevanto {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Optional;

constexpr auto kKde =
    "[ActivityManager]\nShow Desktop=Meta+Z,none,Other\n\n"
    "[services][org.example.Terminal.desktop]\n_launch=Ctrl+Alt+T\n"
    "[kwin]\n_k_friendly_name=KWin\n"
    "ExposeClass=Ctrl+F7,Ctrl+F7,Toggle Present Windows (Window class)\n"
    "Show Desktop=Meta+D\\tMeta+F11,Meta+D,Peek at Desktop\r\n"
    "Switch One Desktop to the Left=none,Meta+Ctrl+Left,Switch One Desktop to the Left\n"
    "Zoom=Ctrl+\\,,none,Zoom\n"
    "Empty=,none,Empty";

TEST(KdeShortcutFile, givesTheUsersOwnAccelerators) {
  EXPECT_THAT(kdeShortcut(kKde, "kwin", "ExposeClass"), Optional(ElementsAre("Ctrl+F7")));
  EXPECT_THAT(kdeShortcut(kKde, "kwin", "Show Desktop"), Optional(ElementsAre("Meta+D", "Meta+F11")));
  EXPECT_THAT(kdeShortcut(kKde, "kwin", "Zoom"), Optional(ElementsAre("Ctrl+,")));
}

TEST(KdeShortcutFile, anEntryWithoutAcceleratorIsSwitchedOff) {
  EXPECT_THAT(kdeShortcut(kKde, "kwin", "Switch One Desktop to the Left"), Optional(IsEmpty()));
  EXPECT_THAT(kdeShortcut(kKde, "kwin", "Empty"), Optional(IsEmpty()));
}

TEST(KdeShortcutFile, whatIsNotThereIsNotDefined) {
  EXPECT_EQ(kdeShortcut(kKde, "kwin", "Switch One Desktop"), std::nullopt);
  EXPECT_EQ(kdeShortcut(kKde, "kwin", "_launch"), std::nullopt);
  EXPECT_EQ(kdeShortcut("", "kwin", "Zoom"), std::nullopt);
  EXPECT_EQ(kdeShortcut("[kwin", "kwin", "Zoom"), std::nullopt);
}

std::string xfce(const std::string& lists) {
  return R"(<?xml version="1.0" encoding="UTF-8"?>
<channel name="xfce4-keyboard-shortcuts" version="1.0">
  <property name="commands" type="empty"><property name="custom" type="empty">
    <property name="&lt;Super&gt;x" type="string" value="show_desktop_key"/></property></property>
  <property name="xfwm4" type="empty">)" +
         lists + R"(</property>
  <property name="providers" type="array"><value type="string" value="xfwm4"/></property>
</channel>)";
}
const std::string kDefaults = R"(<property name="default" type="empty">
  <property name="&lt;Primary&gt;&lt;Alt&gt;d" type="string" value="show_desktop_key"/>
  <property name="&lt;Primary&gt;&lt;Alt&gt;Left" type="string" value="left_workspace_key"/></property>)";
const std::string kOwn = R"(<property name="custom" type="empty">
  <property name="override" type="bool" value="true"/>
  <property name="&lt;Super&gt;d" type="string" value="show_desktop_key"/>
  <property name="&lt;Alt&gt;F9" type="string" value="show_desktop_key"/></property>)";

TEST(XfceShortcutFile, givesTheUsersOwnList) {
  const auto file = xfce(kDefaults + kOwn);
  EXPECT_THAT(xfceShortcut(file, "show_desktop_key"), Optional(ElementsAre("<Super>d", "<Alt>F9")));
  EXPECT_THAT(xfceShortcut(file, "left_workspace_key"), Optional(IsEmpty()));
}

TEST(XfceShortcutFile, givesTheDefaultsWithoutAnOwnList) {
  const auto file = xfce(kDefaults);
  EXPECT_THAT(xfceShortcut(file, "show_desktop_key"), Optional(ElementsAre("<Primary><Alt>d")));
  EXPECT_THAT(xfceShortcut(file, "right_workspace_key"), Optional(IsEmpty()));
}

TEST(XfceShortcutFile, aFileWithoutListsOrOneThatIsDamagedDefinesNothing) {
  EXPECT_EQ(xfceShortcut(xfce(""), "show_desktop_key"), std::nullopt);
  EXPECT_EQ(xfceShortcut("", "show_desktop_key"), std::nullopt);
  const auto file = xfce(kDefaults);
  for (std::size_t length = 0; length + 1 < file.size(); length += 7)
    EXPECT_EQ(xfceShortcut(file.substr(0, length), "show_desktop_key"), std::nullopt) << length;
}

}  // namespace
}  // namespace tevanto
