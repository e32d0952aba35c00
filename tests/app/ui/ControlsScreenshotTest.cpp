#include <gtest/gtest.h>

#include <QPainter>
#include <QQmlEngine>
#include <QQmlListReference>
#include <QQuickItem>
#include <QQuickView>
#include <QTest>

#include <functional>

#include "app/ui/DesktopAppearance.h"
#include "app/ui/ViewEngine.h"
#include "tests/app/ui/Screenshots.h"

namespace tevanto {
namespace {

constexpr int kTimeout = 60'000;  // milliseconds

/// Each control at rest, under the pointer, pressed, with the keyboard's focus and disabled.
class ControlsScreenshot : public ::testing::TestWithParam<bool> {
 protected:
  ControlsScreenshot() : view_(&engine_, nullptr) {
    ViewEngine::prepare(engine_);
    auto& appearance =
        *engine_.singletonInstance<DesktopAppearance*>(qmlTypeId("Tevanto", 1, 0, "DesktopAppearance"));
    appearance.setDark(GetParam());
    appearance.setMotionReduced(true);
    view_.setSource(QUrl::fromLocalFile(QStringLiteral(TEVANTO_CONTROLS_SHEET)));
    view_.show();
    view_.requestActivate();
    EXPECT_TRUE(QTest::qWaitForWindowActive(&view_, kTimeout));
    const QQmlListReference controls(view_.rootObject(), "controls");
    for (int i = 0; i < controls.count(); ++i) controls_.push_back(static_cast<QQuickItem*>(controls.at(i)));
  }

  int cellHeight() { return view_.rootObject()->property("cellHeight").toInt(); }
  QPoint centerOf(const QQuickItem& control) {
    return control.mapToScene({control.width() / 2, control.height() / 2}).toPoint();
  }
  void leaveAlone(QQuickItem& control) {
    QTest::mouseMove(&view_, {1, 1});
    QTest::mouseRelease(&view_, Qt::LeftButton, Qt::NoModifier, {1, 1});
    QTest::mouseMove(&view_, {3, 3});  // whoever was pressed hears of the pointer only now
    control.setFocus(false);
    control.setEnabled(true);
    EXPECT_TRUE(QTest::qWaitFor([&] { return !control.property("isHovered").toBool(); }, kTimeout));
  }
  void pointAt(QQuickItem& control) {
    QTest::mouseMove(&view_, centerOf(control));
    EXPECT_TRUE(QTest::qWaitFor([&] { return control.property("isHovered").toBool(); }, kTimeout));
  }
  void press(QQuickItem& control) {
    pointAt(control);
    QTest::mousePress(&view_, Qt::LeftButton, Qt::NoModifier, centerOf(control));
    EXPECT_TRUE(QTest::qWaitFor([&] { return control.property("isPressed").toBool(); }, kTimeout));
  }
  void focus(QQuickItem& control) {
    control.forceActiveFocus();
    EXPECT_TRUE(QTest::qWaitFor([&] { return control.hasActiveFocus(); }, kTimeout));
  }

  /// A column of the controls, each brought into a state while it was looked at.
  QImage column(const std::function<void(QQuickItem&)>& bringAbout) {
    const auto ratio = view_.effectiveDevicePixelRatio();
    QImage all(view_.size() * ratio, QImage::Format_RGB32);
    QPainter painter(&all);
    for (std::size_t i = 0; i < controls_.size(); ++i) {
      leaveAlone(*controls_[i]);
      if (bringAbout) bringAbout(*controls_[i]);
      const QRectF cell(0, static_cast<double>(i) * cellHeight() * ratio, all.width(), cellHeight() * ratio);
      auto picture = view_.grabWindow();
      picture.setDevicePixelRatio(1);
      painter.drawImage(cell, picture, cell);
      leaveAlone(*controls_[i]);
    }
    return all;
  }
  static QImage besideEachOther(const std::vector<QImage>& columns) {
    QImage all(columns.front().width() * static_cast<int>(columns.size()), columns.front().height(),
               QImage::Format_RGB32);
    QPainter painter(&all);
    int x = 0;
    for (const auto& each : columns) {
      painter.drawImage(x, 0, each);
      x += each.width();
    }
    return all;
  }

  QQmlEngine engine_;
  QQuickView view_;
  std::vector<QQuickItem*> controls_;
};

TEST_P(ControlsScreenshot, looksLikeItsReference) {
  ASSERT_EQ(controls_.size(), 5U);
  const auto rest = column(nullptr);
  const auto pointedAt = column([this](QQuickItem& control) { pointAt(control); });
  const auto pressed = column([this](QQuickItem& control) { press(control); });
  const auto focused = column([this](QQuickItem& control) { focus(control); });
  const auto disabled = column([](QQuickItem& control) { control.setEnabled(false); });
  for (const auto* const state : {&pointedAt, &pressed, &focused, &disabled})
    EXPECT_GT(test::differingShare(rest, *state, 4), 0.002) << "it can be told from one at rest";
  const auto name = QString("controls-%1-%2")
                        .arg(GetParam() ? "dark" : "light")
                        .arg(qRound(view_.effectiveDevicePixelRatio() * 100));
  const auto wrong =
      test::compareWithReference(name, besideEachOther({rest, pointedAt, pressed, focused, disabled}));
  EXPECT_TRUE(wrong.isEmpty()) << wrong.toStdString();
}

INSTANTIATE_TEST_SUITE_P(LightAndDark, ControlsScreenshot, ::testing::Bool(),
                         [](const auto& theme) { return theme.param ? "dark" : "light"; });

}  // namespace
}  // namespace tevanto
