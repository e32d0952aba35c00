#include <gtest/gtest.h>

#include <QByteArray>
#include <QFont>
#include <QGuiApplication>

#include "tests/app/ui/UiTestScale.h"

const char tevanto::test::kUiTestScale[] = TEVANTO_TEST_SCALE;

/// The tests' desktop: offscreen, drawn by the processor, in fonts of which each machine has the same, at the
/// scale that the program was built for.
int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  qputenv("QT_QPA_PLATFORM", "offscreen");
  qputenv("QT_QUICK_BACKEND", "software");
  qputenv("QT_SCALE_FACTOR", tevanto::test::kUiTestScale);
  qputenv("QT_ENABLE_HIGHDPI_SCALING", "1");
  qputenv("FONTCONFIG_FILE", TEVANTO_TEST_FONTS);
  qputenv("LC_ALL", "C.UTF-8");
  // No portal of the machine's own has a say; tests of it bring one.
  qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent");
  qputenv("QT_LINUX_ACCESSIBILITY_ALWAYS_ON", "0");
  QGuiApplication application(argc, argv);
  QFont font("DejaVu Sans");
  font.setPixelSize(13);
  QGuiApplication::setFont(font);
  return RUN_ALL_TESTS();
}
