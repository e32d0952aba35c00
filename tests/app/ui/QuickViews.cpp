#include <QtQuickTest/quicktest.h>

#include "tests/app/ui/QuickGround.h"

/// The desktop of the other tests of the views: offscreen, drawn by the processor, with nothing of the
/// machine's own.
int main(int argc, char** argv) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  qputenv("QT_QUICK_BACKEND", "software");
  qputenv("QT_SCALE_FACTOR", "1");
  qputenv("FONTCONFIG_FILE", TEVANTO_TEST_FONTS);
  qputenv("LC_ALL", "C.UTF-8");
  qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent");
  qputenv("QT_LINUX_ACCESSIBILITY_ALWAYS_ON", "0");
  tevanto::test::QuickGround ground;
  return quick_test_main_with_setup(argc, argv, "views", QUICK_TEST_SOURCE_DIR, &ground);
}
