#include "app/ui/linux/PortalAppearance.h"

#include <gtest/gtest.h>

#include <QDBusConnection>
#include <QTest>

#include <memory>
#include <string>

#include "app/ui/DesktopAppearance.h"
#include "tests/support/desktop/DBusMock.h"
#include "tests/support/desktop/PrivateBus.h"

namespace tevanto {
namespace {

constexpr auto* kPath = "/org/freedesktop/portal/desktop";
constexpr int kTimeout = 60'000;  // milliseconds

/// A bus of the test's own with a settings portal on it.
class Appearance : public ::testing::Test {
 protected:
  ~Appearance() override {
    portalAppearance_.reset();
    appearance_.reset();
    QDBusConnection::disconnectFromBus(connection_);
  }

  void servePortal(const std::string& settings) {
    portal_ = std::make_unique<test::DBusMock>(bus_, "org.freedesktop.portal.Desktop", kPath,
                                               "org.freedesktop.portal.Settings");
    portal_->addMethod(
        {"org.freedesktop.portal.Settings", "ReadAll", "as", "a{sa{sv}}", "import dbus\nret = " + settings});
  }
  void look() {
    appearance_ = std::make_unique<DesktopAppearance>();
    portalAppearance_ = std::make_unique<PortalAppearance>(
        *appearance_, QDBusConnection::connectToBus(QString::fromStdString(bus_.address()), connection_));
  }
  bool becomesDark(bool dark = true) {
    return QTest::qWaitFor([this, dark] { return appearance_->isDark() == dark; }, kTimeout);
  }
  bool becomesStill(bool still = true) {
    return QTest::qWaitFor([this, still] { return appearance_->isMotionReduced() == still; }, kTimeout);
  }
  void change(const std::string& group, const std::string& key, const std::string& value) {
    portal_->call("org.freedesktop.DBus.Mock.EmitSignal",
                  {"'org.freedesktop.portal.Settings'", "'SettingChanged'", "'ssv'",
                   "[<'" + group + "'>, <'" + key + "'>, " + value + "]"});
  }

  test::PrivateBus bus_;
  /// Qt keeps connections by name for as long as the process lives.
  const QString connection_ = QString::fromStdString(bus_.address());
  std::unique_ptr<test::DBusMock> portal_;
  std::unique_ptr<DesktopAppearance> appearance_;
  std::unique_ptr<PortalAppearance> portalAppearance_;
};

TEST_F(Appearance, isTheDesktopsWhereAPortalTells) {
  servePortal(
      "{'org.freedesktop.appearance': {'color-scheme': dbus.UInt32(1)},"
      " 'org.gnome.desktop.interface': {'enable-animations': dbus.Boolean(False)}}");
  look();
  EXPECT_TRUE(becomesDark());
  EXPECT_TRUE(becomesStill());
}

TEST_F(Appearance, followsTheDesktop) {
  servePortal("{'org.freedesktop.appearance': {'color-scheme': dbus.UInt32(2)}}");
  look();
  EXPECT_TRUE(becomesDark(false));
  change("org.freedesktop.appearance", "color-scheme", "<uint32 1>");
  EXPECT_TRUE(becomesDark());
  change("org.freedesktop.appearance", "color-scheme", "<uint32 0>");
  EXPECT_TRUE(becomesDark(false)) << "no preference: as the palette, which is light";
}

TEST_F(Appearance, hearsOfReducedMotionInEachDesktopsWords) {
  servePortal("{'org.freedesktop.appearance': {'color-scheme': dbus.UInt32(0)}}");
  look();
  EXPECT_FALSE(appearance_->isMotionReduced());
  change("org.gnome.desktop.interface", "enable-animations", "<false>");
  EXPECT_TRUE(becomesStill());
  change("org.gnome.desktop.interface", "enable-animations", "<true>");
  EXPECT_TRUE(becomesStill(false));
  change("org.freedesktop.appearance", "reduced-motion", "<uint32 1>");
  EXPECT_TRUE(becomesStill());
  change("org.freedesktop.appearance", "reduced-motion", "<uint32 0>");
  EXPECT_TRUE(becomesStill(false));
  change("org.kde.kdeglobals.KDE", "AnimationDurationFactor", "<'0'>");
  EXPECT_TRUE(becomesStill());
}

TEST_F(Appearance, takesTheToolkitsWordOnMotionUntilAPortalHasSpoken) {
  servePortal("{'org.freedesktop.appearance': {'color-scheme': dbus.UInt32(0)}}");
  look();
  appearance_->setMotionReducedByToolkit(true);
  EXPECT_TRUE(appearance_->isMotionReduced());
  appearance_->setMotionReducedByToolkit(false);
  EXPECT_FALSE(appearance_->isMotionReduced());
  change("org.gnome.desktop.interface", "enable-animations", "<false>");
  EXPECT_TRUE(becomesStill());
  appearance_->setMotionReducedByToolkit(false);
  EXPECT_TRUE(appearance_->isMotionReduced());
}

TEST_F(Appearance, isLightWithMotionWithoutAPortal) {
  look();
  EXPECT_FALSE(appearance_->isDark());
  EXPECT_FALSE(appearance_->isMotionReduced());
}

}  // namespace
}  // namespace tevanto
