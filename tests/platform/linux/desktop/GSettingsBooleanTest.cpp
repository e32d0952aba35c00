#include "platform/linux/desktop/GSettingsBoolean.h"

#include <gio/gio.h>
#include <gtest/gtest.h>

#include <cstdlib>

namespace tevanto {
namespace {

constexpr auto* kSchema = "org.gnome.desktop.interface";
constexpr auto* kKey = "enable-animations";

TEST(GSettingsBoolean, isReadAfreshWhereItIsInstalled) {
  ::setenv("GSETTINGS_BACKEND", "memory", 1);  // never the user's own
  EXPECT_EQ(gsettingsBoolean(kSchema, kKey), true);
  GSettings* const settings = g_settings_new(kSchema);
  ASSERT_TRUE(g_settings_set_boolean(settings, kKey, FALSE));
  EXPECT_EQ(gsettingsBoolean(kSchema, kKey), false);
  g_settings_reset(settings, kKey);
  EXPECT_EQ(gsettingsBoolean(kSchema, kKey), true);
  g_object_unref(settings);
}

TEST(GSettingsBoolean, isNothingElsewhere) {
  EXPECT_EQ(gsettingsBoolean("app.tevanto.nowhere", kKey), std::nullopt);
  EXPECT_EQ(gsettingsBoolean(kSchema, "no-such-key"), std::nullopt);
}

}  // namespace
}  // namespace tevanto
