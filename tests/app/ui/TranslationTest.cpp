#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QTranslator>

#include "app/ui/StatusTexts.h"
#include "control/MacPowerManager.h"
#include "remote/MacRemoteServer.h"
#include "tests/app/ui/ShownView.h"

namespace tevanto {
namespace {

using test::ShownView;
using test::UiWorld;

/// A language in which every text stands between brackets.
class Translation : public ::testing::Test {
 protected:
  Translation() {
    EXPECT_TRUE(translator_.load(QStringLiteral(TEVANTO_PSEUDO_TRANSLATION)));
    QCoreApplication::installTranslator(&translator_);
  }
  ~Translation() override { QCoreApplication::removeTranslator(&translator_); }

  /// What can be read or heard in the view and is no text of the language's.
  static QStringList untranslated(ShownView& view, const QString& code) {
    QStringList found;
    auto all = view.texts();
    for (const auto& name : view.controlsByTab()) all << name;
    // Said, not shown.
    if (const auto* const picture = view.find("qrCode")) all << picture->property("label").toString();
    if (const auto* const copy = view.find("copyCode")) all << copy->property("description").toString();
    for (const auto& text : all) {
      const bool isTranslated = text.startsWith("⟦") && text.contains("⟧");
      if (!isTranslated && text != code) found << text;
    }
    return found;
  }
  QString code() { return QString::fromStdString(world.runtime().server().pairingCode.get()); }

  UiWorld world;

 private:
  QTranslator translator_;
};

TEST_F(Translation, reachesEveryTextOfTheGuide) {
  ShownView view(world, ShownView::Kind::setupWindow);
  EXPECT_EQ(view.texts().value(0), "⟦STEP 1 OF 2⟧");
  EXPECT_EQ(untranslated(view, {}), QStringList());
  view.click(view.control("⟦Copy link⟧"));
  EXPECT_TRUE(view.control("⟦Link copied⟧"));
}

TEST_F(Translation, reachesEveryTextOfThePanel) {
  world.accessibility.trusted = false;
  world.screenRecording.granted = false;
  ShownView view(world, ShownView::Kind::panel);
  EXPECT_EQ(view.textOf("connection"), "⟦Ready⟧");
  EXPECT_EQ(untranslated(view, code()), QStringList());
}

TEST_F(Translation, reachesEveryTextOfABusyPanel) {
  world.sources.setBattery(64, PowerSources::kBatteryPower);
  world.runtime().power().setKeepAwake(true);
  const auto phone = world.connectPhone();
  const auto viewer = world.mirror();
  ShownView view(world, ShownView::Kind::panel);
  EXPECT_EQ(view.textOf("codeCaption"), "⟦CONNECTED⟧");
  EXPECT_TRUE(view.texts().contains("⟦Keeps running after screen lock⟧ · 64%"));
  EXPECT_EQ(untranslated(view, code()), QStringList());
}

TEST_F(Translation, putsNumbersWhereTheLanguageWantsThem) {
  EXPECT_EQ(translatedStatus("Battery too low (20%) to keep awake"), "⟦Battery too low (20%) to keep awake⟧");
  EXPECT_EQ(translatedStatus("Battery floor hit (9%), turning off"), "⟦Battery floor hit (9%), turning off⟧");
  EXPECT_EQ(translatedStatus("Auto-off after 12h"), "⟦Auto-off after 12h⟧");
  EXPECT_EQ(translatedStatus("Couldn't enable Keep Awake (-536870199)"),
            "⟦Couldn't enable Keep Awake (-536870199)⟧");
  EXPECT_EQ(translatedStatus("Paired"), "⟦Paired⟧");
  EXPECT_EQ(translatedStatus(""), "");
}

TEST_F(Translation, leavesWhatNobodyTranslated) {
  EXPECT_EQ(translatedStatus("Something new"), "Something new");
  EXPECT_EQ(translatedStatus("Something new (7)"), "Something new (7)");
}

}  // namespace
}  // namespace tevanto
