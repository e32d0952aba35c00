#include <gtest/gtest.h>

#include <QColor>
#include <QGuiApplication>
#include <QQmlComponent>
#include <QQmlEngine>

#include <algorithm>
#include <cmath>
#include <memory>
#include <set>

#include "app/ui/MenuBarLabel.h"
#include "app/ui/SymbolImages.h"
#include "control/MacPowerManager.h"
#include "remote/MacRemoteServer.h"
#include "tests/app/ui/Screenshots.h"
#include "tests/app/ui/ShownView.h"

namespace tevanto {
namespace {

using test::ShownView;
using test::UiWorld;

/// Relative luminance and contrast, as the Web Content Accessibility Guidelines 2.1 define them.
double luminance(const QColor& color) {
  const auto linear = [](double c) { return c <= 0.04045 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4); };
  return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF());
}

double contrast(const QColor& a, const QColor& b) {
  const double one = luminance(a);
  const double other = luminance(b);
  return (std::max(one, other) + 0.05) / (std::min(one, other) + 0.05);
}

class Looks : public ::testing::TestWithParam<bool> {
 protected:
  QColor themed(ShownView& view, const char* name) {
    QQmlComponent asking(view.window().engine());
    asking.setData("import QtQml; import Tevanto; QtObject { property QtObject theme: Theme }", QUrl());
    const std::unique_ptr<QObject> answer(asking.create());
    return answer->property("theme").value<QObject*>()->property(name).value<QColor>();
  }
};

TEST_P(Looks, textCanBeToldFromItsGround) {
  UiWorld world;
  ShownView view(world, ShownView::Kind::setupWindow);
  view.appearance().setDark(GetParam());
  struct Pair {
    const char* text;
    const char* ground;
    double least;
  };
  for (const auto& [text, ground, least] :
       {Pair{"primary", "ground", 4.5}, Pair{"primary", "card", 4.5}, Pair{"primary", "control", 4.5},
        Pair{"secondary", "ground", 4.5}, Pair{"secondary", "card", 4.5}, Pair{"accent", "ground", 4.5},
        Pair{"accent", "card", 4.5}, Pair{"inkOnAccent", "accentFill", 4.5},
        // What is no text: 3 to 1.
        Pair{"warning", "card", 3}, Pair{"connected", "card", 3}, Pair{"switchOff", "card", 3},
        Pair{"accentFill", "card", 3}}) {
    EXPECT_GE(contrast(themed(view, text), themed(view, ground)), least) << text << " on " << ground;
  }
}

/// The states with the most to show: nothing may be cut off, and nothing need be scrolled.
TEST_P(Looks, everythingFitsIntoTheWindow) {
  UiWorld world;
  world.accessibility.trusted = false;
  world.screenRecording.granted = false;
  world.sources.setBattery(100, PowerSources::kAcPower);
  world.runtime().power().setKeepAwake(true);
  world.connectPhone();
  world.mirror();
  ShownView view(world, ShownView::Kind::setupWindow);
  view.appearance().setMotionReduced(true);
  for (const bool isGuide : {true, false}) {
    if (!isGuide) world.model().completeGuide();
    view.settle();
    const auto* const area = view.find(isGuide ? "guideArea" : "panelArea");
    ASSERT_TRUE(area);
    EXPECT_LE(area->property("contentHeight").toDouble(), view.window().height()) << isGuide;
    EXPECT_EQ(view.cutTexts(), QStringList()) << isGuide;
  }
}

INSTANTIATE_TEST_SUITE_P(LightAndDark, Looks, ::testing::Bool());

TEST(MenuBarLabel, saysWhetherAPhoneIsConnected) {
  EXPECT_STREQ(MenuBarLabel::imageName(true), "iphone.radiowaves.left.and.right");
  EXPECT_STREQ(MenuBarLabel::imageName(false), "iphone");
  const auto idle = MenuBarLabel::icon(false).pixmap(22, 22).toImage();
  const auto connected = MenuBarLabel::icon(true).pixmap(22, 22).toImage();
  ASSERT_FALSE(idle.isNull());
  EXPECT_GT(test::differingShare(idle, connected), 0.05);
}

TEST(MenuBarLabel, canBeToldFromLightAndDarkPanels) {
  for (const bool isConnected : {false, true}) {
    const auto image = MenuBarLabel::icon(isConnected).pixmap(64, 64).toImage();
    QColor strongest;
    for (int y = 0; y < image.height(); ++y) {
      for (int x = 0; x < image.width(); ++x) {
        if (image.pixelColor(x, y).alpha() == 255) strongest = image.pixelColor(x, y);
      }
    }
    ASSERT_TRUE(strongest.isValid());
    EXPECT_GE(contrast(strongest, QColor("#f6f6f6")), 3);
    EXPECT_GE(contrast(strongest, QColor("#202020")), 3);
  }
}

TEST(MenuBarLabel, hasTheMarkInItsOwnColors) {
  const auto image = MenuBarLabel::mark().pixmap(64, 64).toImage();
  ASSERT_EQ(image.size(), QSize(64, 64));
  EXPECT_GT(image.pixelColor(20, 6).blue(), 150);
  EXPECT_EQ(image.pixelColor(0, 0).alpha(), 0) << "round";
}

TEST(Symbols, areThereInEachColorAndSize) {
  for (const auto* name : {"iphone", "iphone.radiowaves.left.and.right", "doc.on.doc",
                           "exclamationmark.triangle.fill", "cup.and.saucer.fill", "power"}) {
    const auto image = SymbolImages::draw(name, QColor("#ff0000"), {48, 48});
    ASSERT_EQ(image.size(), QSize(48, 48)) << name;
    int inked = 0;
    for (int y = 0; y < 48; ++y) {
      for (int x = 0; x < 48; ++x) {
        const auto pixel = image.pixelColor(x, y);
        if (pixel.alpha() < 255) continue;
        ++inked;
        EXPECT_EQ(pixel, QColor("#ff0000")) << name;
      }
    }
    EXPECT_GT(inked, 100) << name;
  }
  EXPECT_TRUE(SymbolImages::draw("no.such.symbol", Qt::black, {48, 48}).isNull());
}

TEST(Symbols, withoutAColorAnImageKeepsItsOwn) {
  SymbolImages images;
  QSize size;
  const auto mark = images.requestImage("TevantoLogoMark", &size, {64, 64});
  EXPECT_EQ(size, QSize(64, 64));
  std::set<QRgb> colors;
  for (int y = 0; y < 64; ++y) {
    for (int x = 0; x < 64; ++x) {
      if (qAlpha(mark.pixel(x, y)) == 255) colors.insert(mark.pixel(x, y));
    }
  }
  EXPECT_GT(colors.size(), 10U) << "it is a gradient";
}

TEST(Direction, turnsTheWindowRoundWhenTheInterfaceRunsFromRightToLeft) {
  UiWorld world;
  (void)world.defaults.set(CompanionModel::kGuideKey, true);
  ShownView view(world, ShownView::Kind::setupWindow);
  const auto quitAt = [&view] { return view.find("quit")->mapToScene({0, 0}).x(); };
  const auto before = quitAt();
  QGuiApplication::setLayoutDirection(Qt::RightToLeft);
  view.settle();
  EXPECT_LT(quitAt(), before - 100);
  QGuiApplication::setLayoutDirection(Qt::LayoutDirectionAuto);
  view.settle();
  EXPECT_EQ(quitAt(), before);
}

TEST(Screenshots, tellAWordFromAnother) {
  UiWorld world;
  (void)world.defaults.set(CompanionModel::kGuideKey, true);
  world.runtime().server().pairingCode.set("482913");
  ShownView view(world, ShownView::Kind::setupWindow);
  const auto before = view.window().grabWindow();
  EXPECT_EQ(test::differingShare(before, before), 0);
  world.runtime().server().statusText.set("Pair from iPhone");
  view.settle();
  EXPECT_GT(test::differingShare(before, view.window().grabWindow()), test::kToleratedShare);
}

}  // namespace
}  // namespace tevanto
