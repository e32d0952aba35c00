#include "platform/linux/desktop/applications/IconTheme.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/platform/linux/desktop/applications/DesktopFixture.h"

namespace tevanto {
namespace {

using test::DesktopFixture;
using testing::Optional;

class IconThemes : public testing::Test {
 protected:
  std::string add(const std::string& below) { return desktop_.write(below, "-"); }
  std::optional<std::string> find(const std::string& name, int size = 64) {
    return IconTheme(desktop_.folders(), "Chosen").find(name, size);
  }

  DesktopFixture desktop_;
};

TEST_F(IconThemes, prefersTheFolderOfTheSize) {
  desktop_.writeTheme("first/icons", "Chosen");
  const auto small = add("first/icons/Chosen/48x48/apps/a.png");
  const auto exact = add("first/icons/Chosen/64x64/apps/a.png");
  const auto drawing = add("first/icons/Chosen/scalable/apps/a.svg");
  EXPECT_THAT(find("a"), Optional(exact));
  EXPECT_THAT(find("a", 48), Optional(small));
  EXPECT_THAT(find("a", 100), Optional(drawing));
  EXPECT_EQ(find("b"), std::nullopt);
}

TEST_F(IconThemes, takesTheNearestSizeWhenNoneFits) {
  desktop_.write("first/icons/Chosen/index.theme",
                 "[Icon Theme]\nDirectories=16,32,256\n[16]\nSize=16\nType=Fixed\n[32]\nSize=32\nType=Fixed\n"
                 "[256]\nSize=256\nType=Fixed\n");
  add("first/icons/Chosen/16/a.png");
  const auto nearest = add("first/icons/Chosen/32/a.png");
  const auto large = add("first/icons/Chosen/256/a.png");
  EXPECT_THAT(find("a", 64), Optional(nearest));
  EXPECT_THAT(find("a", 200), Optional(large));
}

TEST_F(IconThemes, knowsThresholdsRangesAndScales) {
  desktop_.write("first/icons/Chosen/index.theme",
                 "[Icon Theme]\nDirectories=threshold,range\nScaledDirectories=doubled\n"
                 "[threshold]\nSize=60\nType=Threshold\nThreshold=4\n"
                 "[range]\nSize=70\nMinSize=66\nMaxSize=80\nType=Scalable\n"
                 "[doubled]\nSize=50\nScale=2\nType=Fixed\n");
  const auto threshold = add("first/icons/Chosen/threshold/a.png");
  const auto range = add("first/icons/Chosen/range/a.svg");
  const auto doubled = add("first/icons/Chosen/doubled/a.png");
  EXPECT_THAT(find("a", 64), Optional(threshold));
  EXPECT_THAT(find("a", 56), Optional(threshold));
  EXPECT_THAT(find("a", 75), Optional(range));
  EXPECT_THAT(find("a", 100), Optional(doubled));
}

TEST_F(IconThemes, asksTheChosenThemeThenItsParentsThenHicolor) {
  desktop_.writeTheme("first/icons", "Chosen", "Parent");
  desktop_.writeTheme("first/icons", "Parent", "Grand");
  desktop_.writeTheme("first/icons", "Grand", "Chosen");  // in a circle
  desktop_.writeTheme("first/icons", "hicolor");
  const auto chosen = add("first/icons/Chosen/48x48/apps/a.png");
  add("first/icons/Parent/64x64/apps/a.png");
  const auto parent = add("first/icons/Parent/48x48/apps/b.png");
  const auto grand = add("first/icons/Grand/48x48/apps/c.png");
  add("first/icons/hicolor/64x64/apps/c.png");
  const auto hicolor = add("first/icons/hicolor/64x64/apps/d.png");
  EXPECT_THAT(find("a"), Optional(chosen));
  EXPECT_THAT(find("b"), Optional(parent));
  EXPECT_THAT(find("c"), Optional(grand));
  EXPECT_THAT(find("d"), Optional(hicolor));
}

TEST_F(IconThemes, readsAThemeThatIsSpreadOverSeveralRoots) {
  desktop_.writeTheme("second/icons", "Chosen");
  const auto users = add("data/icons/Chosen/64x64/apps/a.png");
  add("second/icons/Chosen/64x64/apps/a.png");
  const auto systems = add("second/icons/Chosen/64x64/apps/b.png");
  const auto homes = add("home/.icons/Chosen/48x48/apps/c.png");
  EXPECT_THAT(find("a"), Optional(users));
  EXPECT_THAT(find("b"), Optional(systems));
  EXPECT_THAT(find("c"), Optional(homes));
}

TEST_F(IconThemes, prefersPngThenSvgThenXpmInOneFolder) {
  desktop_.writeTheme("first/icons", "Chosen");
  add("first/icons/Chosen/64x64/apps/a.xpm");
  const auto svg = add("first/icons/Chosen/64x64/apps/a.svg");
  EXPECT_THAT(find("a"), Optional(svg));
  const auto png = add("first/icons/Chosen/64x64/apps/a.png");
  EXPECT_THAT(find("a"), Optional(png));
}

TEST_F(IconThemes, looksBesideTheThemesAndInThePixmapsFolderAtLast) {
  const auto beside = add("data/icons/a.png");
  add("first/pixmaps/a.png");
  const auto pixmap = add("second/pixmaps/b.xpm");
  EXPECT_THAT(find("a"), Optional(beside));
  EXPECT_THAT(find("b"), Optional(pixmap));
}

TEST_F(IconThemes, surviveABrokenIndex) {
  desktop_.write("first/icons/Chosen/index.theme", "this is\nno index");
  desktop_.write(
      "first/icons/hicolor/index.theme",
      "[Icon Theme]\nDirectories=,,missing,../../escape,64\nInherits=../../etc\n[64]\nSize=lots\n");
  const auto pixmap = add("first/pixmaps/a.png");
  EXPECT_THAT(find("a"), Optional(pixmap));
  EXPECT_THAT(find("b"), std::nullopt);
}

TEST_F(IconThemes, areFoundInTheSettingsOfTheToolkit) {
  EXPECT_FALSE(IconTheme::userThemeName(desktop_.folders()).empty());
  desktop_.write("etc/gtk-3.0/settings.ini", "[Settings]\ngtk-icon-theme-name=System\n");
  EXPECT_EQ(IconTheme::userThemeName(desktop_.folders()), "System");
  desktop_.write("config/gtk-3.0/settings.ini", "[Settings]\ngtk-icon-theme-name=Mine\n");
  EXPECT_EQ(IconTheme::userThemeName(desktop_.folders()), "Mine");
  desktop_.writeTheme("first/icons", "Mine");
  const auto mine = add("first/icons/Mine/64x64/apps/a.png");
  EXPECT_THAT(IconTheme(desktop_.folders()).find("a", 64), Optional(mine));
}

TEST_F(IconThemes, fallBackToTheUsualThemeWhenTheChosenOneIsNotInstalled) {
  desktop_.writeTheme("first/icons", "Adwaita");
  const auto usual = add("first/icons/Adwaita/64x64/apps/a.png");
  EXPECT_THAT(find("a"), Optional(usual));
}

}  // namespace
}  // namespace tevanto
