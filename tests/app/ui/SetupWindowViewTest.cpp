#include <gtest/gtest.h>

#include <QAccessible>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include "app/ui/QrImages.h"
#include "tests/app/ui/ShownView.h"

namespace tevanto {
namespace {

using test::ShownView;
using test::UiWorld;

class SetupWindow : public ::testing::Test {
 protected:
  ShownView& view() {
    if (!view_) view_ = std::make_unique<ShownView>(world, ShownView::Kind::setupWindow);
    view_->settle();
    return *view_;
  }
  bool isOnThePanel() { return view().control("Quit") && !view().find("hero"); }
  double progress() { return view().window().rootObject()->property("progress").toDouble(); }

  UiWorld world;

 private:
  std::unique_ptr<ShownView> view_;
};

TEST_F(SetupWindow, theGuidesCodeSaysWhatItIsFor) {
  auto* const code = QAccessible::queryAccessibleInterface(view().find("qrCode"));
  ASSERT_TRUE(code);
  EXPECT_EQ(code->text(QAccessible::Name), "QR code for the Tevanto App Store page");
  EXPECT_EQ(code->role(), QAccessible::Graphic);
}

TEST_F(SetupWindow, completingTheGuideIsStoredAndLeadsToThePanel) {
  view().appearance().setMotionReduced(true);
  EXPECT_FALSE(world.defaults.boolean("hasCompletedMacFirstRunGuide"));
  view().click(view().control("I have Tevanto on my iPhone"));
  EXPECT_TRUE(world.defaults.boolean("hasCompletedMacFirstRunGuide"));
  EXPECT_TRUE(isOnThePanel());
}

TEST_F(SetupWindow, opensOnThePanelWhenTheGuideWasCompletedEarlier) {
  ASSERT_TRUE(world.defaults.set("hasCompletedMacFirstRunGuide", true).ok());
  EXPECT_TRUE(isOnThePanel());
  EXPECT_FALSE(view().control("Open setup window"));
}

TEST_F(SetupWindow, staysOnThePanelInThisSessionWhereTheSettingsAreLost) {
  view().appearance().setMotionReduced(true);
  view().click(view().control("I have Tevanto on my iPhone"));
  ASSERT_TRUE(world.defaults.remove("hasCompletedMacFirstRunGuide").ok());
  ShownView again(world, ShownView::Kind::setupWindow);
  EXPECT_TRUE(again.control("Quit"));
}

TEST_F(SetupWindow, cutsToThePanelWhereMotionIsReduced) {
  view().appearance().setMotionReduced(true);
  world.model().completeGuide();
  EXPECT_EQ(progress(), 1);
}

TEST_F(SetupWindow, springsToThePanelOtherwise) {
  world.model();
  view();
  std::vector<double> seen;
  const auto* const root = view().window().rootObject();
  world.model().completeGuide();
  seen.push_back(root->property("progress").toDouble());
  ASSERT_TRUE(QTest::qWaitFor([&] { return progress() == 1; }, 60'000));
  EXPECT_LT(seen.front(), 1) << "it is on its way first";
  EXPECT_TRUE(isOnThePanel());
}

TEST_F(SetupWindow, theKeyboardGoesThroughTheGuide) {
  EXPECT_EQ(view().controlsByTab(), (QStringList{"Copy link", "I have Tevanto on my iPhone"}));
  view().appearance().setMotionReduced(true);
  ASSERT_TRUE(view().tabTo(view().control("I have Tevanto on my iPhone")));
  view().press(Qt::Key_Return);
  EXPECT_TRUE(isOnThePanel());
  EXPECT_EQ(view().controlsByTab().constFirst(), "Copy code");
}

TEST_F(SetupWindow, readersReadTheCodeFromThePicture) {
  world.links.appStore = "https://store.test/äpp?id=1&x=%20";
  const QTemporaryDir folder;
  const auto file = folder.filePath("window.png");
  ASSERT_TRUE(view().window().grabWindow().save(file));
  QProcess reader;
  reader.start("zbarimg", {"--raw", "--quiet", "-Sbinary", file});
  ASSERT_TRUE(reader.waitForFinished(60'000));
  EXPECT_EQ(reader.readAllStandardOutput().trimmed(), QByteArray("https://store.test/äpp?id=1&x=%20"));
}

TEST_F(SetupWindow, theCodeIsSharp) {
  const auto* const code = view().find("qrCode");
  const auto ratio = view().window().effectiveDevicePixelRatio();
  const auto corner = code->mapToScene({8, 8}) * ratio;
  const auto extent = (code->width() - 16) * ratio;
  const auto picture = view()
                           .window()
                           .grabWindow()
                           .copy(QRectF(corner, QSizeF(extent, extent)).toRect())
                           .convertToFormat(QImage::Format_RGB32);
  for (int y = 0; y < picture.height(); ++y) {
    for (int x = 0; x < picture.width(); ++x) {
      const auto pixel = picture.pixel(x, y);
      ASSERT_TRUE(pixel == qRgb(0, 0, 0) || pixel == qRgb(255, 255, 255)) << x << "," << y;
    }
  }
}

TEST(QrCode, hasAQuietZoneAndNothingForNoText) {
  const auto code = QrImages::encode("https://tevanto.example");
  ASSERT_FALSE(code.isNull());
  EXPECT_EQ((code.width() - 2 * QrImages::kQuietZone) % 4, 1) << "21, 25, 29 ... modules";
  for (int i = 0; i < code.width(); ++i) {
    for (int line = 0; line < QrImages::kQuietZone; ++line) {
      EXPECT_EQ(qAlpha(code.pixel(i, line)), 0);
      EXPECT_EQ(qAlpha(code.pixel(line, i)), 0);
    }
  }
  EXPECT_EQ(code.pixel(QrImages::kQuietZone, QrImages::kQuietZone), qRgb(0, 0, 0));
  EXPECT_TRUE(QrImages::encode("").isNull());
  EXPECT_TRUE(QrImages::encode(QString(3000, 'x')).isNull()) << "level M takes 2,331 bytes";
  EXPECT_FALSE(QrImages::encode(QString(2331, 'x')).isNull());
}

TEST(QrCode, holdsTheLevelInItsFormatBits) {
  // The first two bits beside the upper left finder, under the mask 101010000010010 of the standard: M is 00.
  const auto code = QrImages::encode("x");
  const auto bit = [&](int column, int row) {
    return qAlpha(code.pixel(column + QrImages::kQuietZone, row + QrImages::kQuietZone)) ? 1 : 0;
  };
  EXPECT_EQ(bit(0, 8) ^ 1, 0);
  EXPECT_EQ(bit(1, 8) ^ 0, 0);
}

}  // namespace
}  // namespace tevanto
