#include "platform/linux/desktop/applications/DesktopWorkspace.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <chrono>
#include <cstdlib>
#include <iostream>
#include <map>
#include <set>

#include "platform/linux/desktop/applications/DesktopEntry.h"
#include "tests/platform/linux/desktop/applications/DesktopFixture.h"

namespace tevanto {
namespace {

using test::DesktopFixture;
using test::Picture;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Optional;
using testing::UnorderedElementsAre;

constexpr auto kRunnable = "Name=A\nExec=true\n";

class Applications : public testing::Test {
 protected:
  static void SetUpTestSuite() { ::setenv("XDG_CURRENT_DESKTOP", "Bench:Workshop", 1); }  // read once
  void SetUp() override { ::setenv("LANGUAGE", "C", 1); }

  std::map<std::string, ApplicationBundle> in(const std::string& folder) {
    std::map<std::string, ApplicationBundle> byIdentifier;
    for (auto& bundle : workspace_.applicationsIn(desktop_.path(folder + "/applications"))) {
      auto identifier = bundle.identifier.value();
      byIdentifier.emplace(std::move(identifier), std::move(bundle));
    }
    return byIdentifier;
  }
  bool hidden(const std::string& lines) {
    desktop_.writeEntry("data", "a.desktop", lines);
    return in("data").at("a.desktop").hidden;
  }
  /// The pixel in the middle of the icon of an application with this Icon line.
  std::optional<std::uint32_t> iconColor(const std::string& icon) {
    ApplicationBundle bundle;
    bundle.location = desktop_.writeEntry("data", "a.desktop", "Name=A\nExec=true\nIcon=" + icon + "\n");
    const auto png = workspace_.iconPng(bundle);
    if (!png) return {};
    const Picture picture(*png);
    EXPECT_EQ(picture.width(), 64);
    EXPECT_EQ(picture.height(), 64);
    return picture.at(32, 32);
  }

  DesktopFixture desktop_;
  DesktopWorkspace workspace_{desktop_.folders(), {}, {}};
};

TEST_F(Applications, standInTheFoldersOfTheDesktopTheUsersFirst) {
  EXPECT_THAT(workspace_.applicationFolders(),
              ElementsAre(desktop_.path("data/applications"), desktop_.path("first/applications"),
                          desktop_.path("second/applications")));
}

TEST_F(Applications, areDescribedByTheirEntry) {
  const auto location = desktop_.writeEntry("data", "org.example.Viewer.desktop", "Name=Viewer\nExec=true\n");
  const auto found = in("data");
  ASSERT_EQ(found.size(), 1u);
  const auto& bundle = found.at("org.example.Viewer.desktop");
  EXPECT_EQ(bundle.location, location);
  EXPECT_EQ(bundle.fileName, "org.example.Viewer");
  EXPECT_THAT(bundle.displayName, Optional(std::string("Viewer")));
  EXPECT_FALSE(bundle.hidden);
  struct statx status {};
  ASSERT_EQ(::statx(0, location.c_str(), 0, STATX_BTIME | STATX_MTIME, &status), 0);
  const auto& time = status.stx_mask & STATX_BTIME ? status.stx_btime : status.stx_mtime;
  EXPECT_THAT(bundle.created, Optional(testing::DoubleNear(static_cast<double>(time.tv_sec), 1)));
}

TEST_F(Applications, haveNamesInTheLanguageOfTheUser) {
  desktop_.writeEntry("data", "a.desktop",
                      "Name=Files\nName[de]=Dateien\nName[de_AT]=Akten\nName[fr]=Fichiers\nExec=true\n");
  const auto name = [&] { return in("data").at("a.desktop").displayName.value_or("none"); };
  EXPECT_EQ(name(), "Files");
  ::setenv("LANGUAGE", "de_DE.UTF-8", 1);
  EXPECT_EQ(name(), "Dateien");
  ::setenv("LANGUAGE", "de_AT.UTF-8", 1);
  EXPECT_EQ(name(), "Akten");
  ::setenv("LANGUAGE", "it:fr", 1);
  EXPECT_EQ(name(), "Fichiers");
  ::unsetenv("LANGUAGE");
  ::setenv("LC_ALL", "fr_FR.UTF-8", 1);
  EXPECT_EQ(name(), "Fichiers");
  ::unsetenv("LC_ALL");
}

TEST_F(Applications, inSubfoldersHaveTheFoldersInTheirIdentifier) {
  desktop_.writeEntry("data", "kde4/office/writer.desktop", kRunnable);
  desktop_.writeEntry("data", "kde4-viewer.desktop", kRunnable);
  EXPECT_EQ(in("data").count("kde4-office-writer.desktop"), 1u);
  EXPECT_THAT(workspace_.locationOf("kde4-office-writer.desktop"),
              Optional(desktop_.path("data/applications/kde4/office/writer.desktop")));
  EXPECT_THAT(workspace_.locationOf("kde4-viewer.desktop"),
              Optional(desktop_.path("data/applications/kde4-viewer.desktop")));
}

TEST_F(Applications, comeInAFixedOrderAndOnceInAFolder) {
  desktop_.writeEntry("data", "b.desktop", kRunnable);
  desktop_.writeEntry("data", "a-b.desktop", kRunnable);
  desktop_.writeEntry("data", "a/b.desktop", kRunnable);
  std::vector<std::string> identifiers;
  for (const auto& bundle : workspace_.applicationsIn(desktop_.path("data/applications"))) {
    identifiers.push_back(*bundle.identifier);
  }
  EXPECT_THAT(identifiers, ElementsAre("a-b.desktop", "b.desktop"));
}

TEST_F(Applications, areHiddenByTheirEntry) {
  EXPECT_FALSE(hidden(kRunnable));
  EXPECT_TRUE(hidden("Name=A\nExec=true\nNoDisplay=true\n"));
  EXPECT_TRUE(hidden("Name=A\nExec=true\nHidden=true\n"));
  EXPECT_TRUE(hidden("Name=A\nExec=true\nOnlyShowIn=GNOME;KDE;\n"));
  EXPECT_FALSE(hidden("Name=A\nExec=true\nOnlyShowIn=GNOME;Workshop;\n"));
  EXPECT_TRUE(hidden("Name=A\nExec=true\nNotShowIn=Workshop;\n"));
  EXPECT_FALSE(hidden("Name=A\nExec=true\nNotShowIn=GNOME;\n"));
  EXPECT_TRUE(hidden("Name=A\nExec=true\nTryExec=no-such-program-anywhere\n"));
  EXPECT_FALSE(hidden("Name=A\nExec=true\nTryExec=sh\n"));
  EXPECT_TRUE(hidden("Name=A\nExec=no-such-program-anywhere\n"));
  EXPECT_TRUE(hidden("Name=A\n")) << "nothing to start";
  EXPECT_FALSE(hidden("Name=A\nDBusActivatable=true\n"));
}

TEST_F(Applications, areFoundInTheFirstFolderThatHasThem) {
  const auto mine = desktop_.writeEntry("data", "a.desktop", kRunnable);
  desktop_.writeEntry("first", "a.desktop", kRunnable);
  const auto systems = desktop_.writeEntry("second", "b.desktop", kRunnable);
  EXPECT_THAT(workspace_.locationOf("a.desktop"), Optional(mine));
  EXPECT_THAT(workspace_.locationOf("b.desktop"), Optional(systems));
  EXPECT_EQ(workspace_.locationOf("c.desktop"), std::nullopt);
}

TEST_F(Applications, areNotInstalledWhenTheUsersFolderHidesThem) {
  desktop_.writeEntry("first", "a.desktop", kRunnable);
  desktop_.writeEntry("data", "a.desktop", "Hidden=true\n");
  EXPECT_EQ(workspace_.locationOf("a.desktop"), std::nullopt);
  // What is only not to be listed can be opened.
  const auto unlisted = desktop_.writeEntry("data", "a.desktop", "Name=A\nExec=true\nNoDisplay=true\n");
  EXPECT_THAT(workspace_.locationOf("a.desktop"), Optional(unlisted));
}

TEST_F(Applications, areNotFoundByWhatIsNoIdentifier) {
  desktop_.writeEntry("first", "a.desktop", kRunnable);
  desktop_.write("secret.desktop", "[Desktop Entry]\nType=Application\nName=A\nExec=true\n");
  for (const auto* identifier :
       {"", "a", ".desktop", "../../secret.desktop", "/a.desktop", "-a.desktop", "./a.desktop"}) {
    EXPECT_EQ(workspace_.locationOf(identifier), std::nullopt) << identifier;
  }
  EXPECT_EQ(workspace_.locationOf(std::string_view("a.desktop\0.desktop", 18)), std::nullopt);
}

TEST_F(Applications, thatAreBrokenCostNothingButThemselves) {
  desktop_.write("data/applications/text.desktop", "no entry at all");
  desktop_.write("data/applications/empty.desktop", "");
  desktop_.write("data/applications/binary.desktop", std::string("\0\xFF\xFE[Desktop Entry]", 18));
  desktop_.write("data/applications/link.desktop", "[Desktop Entry]\nType=Link\nName=A\nURL=http://a/\n");
  desktop_.write("data/applications/untyped.desktop", "[Desktop Entry]\nName=A\nExec=true\n");
  desktop_.write("data/applications/huge.desktop",
                 "[Desktop Entry]\nType=Application\nName=A\nExec=true\n#" + std::string(2 << 20, 'x'));
  desktop_.writeEntry("data", "readme.txt", kRunnable);
  std::filesystem::create_directory(desktop_.path("data/applications/folder.desktop"));
  std::filesystem::create_directory_symlink("..", desktop_.path("data/applications/loop"));
  std::filesystem::create_symlink("nowhere", desktop_.path("data/applications/dangling.desktop"));
  ASSERT_EQ(::mkfifo(desktop_.path("data/applications/pipe.desktop").c_str(), 0600), 0);
  desktop_.writeEntry("data", "unnamed.desktop", "Exec=true\n");
  desktop_.writeEntry("data", "latin1.desktop", "Name=Caf\xE9\nExec=true\n");
  desktop_.writeEntry("data", "unquoted.desktop", "Name=A\nExec=true \"half\n");
  desktop_.writeEntry("data", "whole.desktop", kRunnable);

  auto found = in("data");
  std::erase_if(found, [](const auto& item) { return item.first.starts_with("loop-"); });
  std::set<std::string> shown;
  for (const auto& [identifier, bundle] : found) {
    if (!bundle.hidden) shown.insert(identifier);
  }
  EXPECT_THAT(shown, testing::IsSupersetOf({"unnamed.desktop", "whole.desktop"}));
  for (const auto* left : {"text.desktop", "empty.desktop", "binary.desktop", "link.desktop",
                           "untyped.desktop", "huge.desktop", "pipe.desktop", "dangling.desktop"}) {
    EXPECT_EQ(found.count(left), 0u) << left;
  }
  EXPECT_EQ(found.at("unnamed.desktop").displayName, std::nullopt);
  EXPECT_TRUE(found.at("unquoted.desktop").hidden);
  EXPECT_THAT(workspace_.applicationsIn(desktop_.path("missing")), IsEmpty());
}

TEST_F(Applications, thatAreBrokenDoNotHideTheSameOneInALaterFolder) {
  desktop_.write("data/applications/a.desktop", "no entry at all");
  const auto whole = desktop_.writeEntry("first", "a.desktop", kRunnable);
  EXPECT_THAT(workspace_.locationOf("a.desktop"), Optional(whole));
}

TEST_F(Applications, existWhereTheirFileIs) {
  const auto location = desktop_.writeEntry("data", "a.desktop", kRunnable);
  EXPECT_TRUE(workspace_.exists(location));
  EXPECT_FALSE(workspace_.exists(location + "x"));
  EXPECT_FALSE(workspace_.exists("/System/Applications/Launchpad.app"));
}

TEST_F(Applications, ofTheDesktopsOverviewsAreLeftToIt) {
  std::vector<std::string> opened;
  const std::string overview = "/System/Applications/Mission Control.app";
  DesktopWorkspace workspace(desktop_.folders(),
                             {[&](const std::string& location) { return location == overview; },
                              [&](const std::string& location) {
                                if (location == overview) opened.push_back(location);
                                return location == overview;
                              }},
                             {});
  EXPECT_TRUE(workspace.exists(overview));
  EXPECT_FALSE(workspace.exists("/System/Applications/Launchpad.app"));
  workspace.open(overview, Workspace::Activation::systemDefault);
  workspace.open("/System/Applications/Launchpad.app", Workspace::Activation::systemDefault);
  EXPECT_THAT(opened, ElementsAre(overview));
}

TEST_F(Applications, haveTheIconOfTheThemeOfTheirNameOrOfAFile) {
  desktop_.writeTheme("first/icons", "hicolor");
  desktop_.writePng("first/icons/hicolor/48x48/apps/themed.png", 48, 48, 0x112233FF);
  desktop_.writeSvg("first/icons/hicolor/scalable/apps/drawn.svg", 16, 16, "#445566");
  desktop_.writePng("second/pixmaps/pixmap.png", 32, 32, 0x778899FF);
  const auto absolute = desktop_.writePng("anywhere/icon.png", 256, 256, 0xAABBCCFF);
  EXPECT_EQ(iconColor("themed"), 0x112233FFu);
  EXPECT_EQ(iconColor("themed.png"), 0x112233FFu);
  EXPECT_EQ(iconColor("drawn"), 0x445566FFu);
  EXPECT_EQ(iconColor("pixmap.png"), 0x778899FFu);
  EXPECT_EQ(iconColor(absolute), 0xAABBCCFFu);
}

TEST_F(Applications, withoutAReadableIconHaveTheGenericOneIfThereIsOne) {
  EXPECT_EQ(iconColor("missing"), std::nullopt);
  EXPECT_EQ(iconColor(""), std::nullopt);
  DesktopFixture other;
  other.writeTheme("first/icons", "hicolor");
  other.writePng("first/icons/hicolor/64x64/apps/application-x-executable.png", 64, 64, 0x010203FF);
  const auto broken = other.write("broken.png", "no image");
  DesktopWorkspace workspace(other.folders(), {}, {});
  for (const auto& icon : {std::string("missing"), broken, std::string("../../secret"), std::string()}) {
    ApplicationBundle bundle;
    bundle.location = other.writeEntry("data", "a.desktop", "Name=A\nExec=true\nIcon=" + icon + "\n");
    const auto png = workspace.iconPng(bundle);
    ASSERT_TRUE(png) << icon;
    EXPECT_EQ(Picture(*png).at(32, 32), 0x010203FFu) << icon;
  }
}

long residentKilobytes() {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with("VmRSS:")) return std::stol(line.substr(6));
  }
  return 0;
}

TEST_F(Applications, ofAWholeDesktopAreListedWithTheirIcons) {
  desktop_.writeTheme("first/icons", "hicolor");
  for (int i = 0; i < 300; ++i) {
    const auto name = "app" + std::to_string(i);
    const auto color = static_cast<std::uint32_t>(i) << 16 | 0xFF;
    auto icon = name;
    if (i % 3 == 0) desktop_.writePng("first/icons/hicolor/48x48/apps/" + name + ".png", 48, 48, color);
    if (i % 3 == 1) {
      desktop_.write(
          "first/icons/hicolor/scalable/apps/" + name + ".svg",
          "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"128\" height=\"128\"><defs>"
          "<linearGradient id=\"g\"><stop stop-color=\"#fff\"/><stop offset=\"1\" "
          "stop-color=\"#08f\"/></linearGradient></defs><rect width=\"128\" height=\"128\" rx=\"20\" "
          "fill=\"url(#g)\"/><path d=\"M20 20 C 40 100 80 100 100 20 Z\" fill=\"#f80\" stroke=\"#000\" "
          "stroke-width=\"3\"/><circle cx=\"64\" cy=\"64\" r=\"30\" opacity=\".4\"/></svg>");
    }
    if (i % 3 == 2) icon = desktop_.writePng("anywhere/" + name + ".png", 256, 256, color);
    desktop_.writeEntry(i % 2 == 0 ? "first" : "second", "org.example." + name + ".desktop",
                        "Name=" + name + "\nExec=true\nIcon=" + icon + "\n");
  }
  const auto residentBefore = residentKilobytes();
  const auto begin = std::chrono::steady_clock::now();
  std::set<std::string> names;
  for (const auto& folder : workspace_.applicationFolders()) {
    for (const auto& bundle : workspace_.applicationsIn(folder)) {
      EXPECT_FALSE(bundle.hidden);
      names.insert(bundle.displayName.value());
      const auto png = workspace_.iconPng(bundle);
      ASSERT_TRUE(png) << *bundle.displayName;
      const int number = std::stoi(bundle.displayName->substr(3));
      if (number % 3 != 1) {
        EXPECT_EQ(Picture(*png).at(32, 32), static_cast<std::uint32_t>(number) << 16 | 0xFF);
      }
    }
  }
  const auto taken = std::chrono::steady_clock::now() - begin;
  EXPECT_EQ(names.size(), 300u);
  std::cout << "300 applications with icons: "
            << std::chrono::duration_cast<std::chrono::milliseconds>(taken).count() << " ms, "
            << residentKilobytes() - residentBefore << " KiB more resident\n";
}

}  // namespace
}  // namespace tevanto
