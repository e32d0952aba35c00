#include "platform/linux/x11/windows/XSettings.h"

#include <gtest/gtest.h>
#include <poll.h>

#include <cstdlib>
#include <memory>
#include <optional>
#include <vector>

#include "tests/support/desktop/XSettingsDaemon.h"
#include "tests/support/desktop/XvfbServer.h"

namespace tevanto {
namespace {

using test::XSettingsDaemon;

constexpr auto* kName = "Gtk/EnableAnimations";

TEST(XSettingsList, isReadInEitherByteOrder) {
  for (const bool bigEndian : {false, true}) {
    for (const int value : {0, 1, -3, 1 << 20})
      EXPECT_EQ(integerInXSettings(XSettingsDaemon::list(kName, value, bigEndian), kName), value);
    const auto list = XSettingsDaemon::list(kName, 1, bigEndian);
    EXPECT_EQ(integerInXSettings(list, "Gtk/EnableAnimationsElse"), 41);
    EXPECT_EQ(integerInXSettings(list, "Gtk/Enable"), std::nullopt);
    EXPECT_EQ(integerInXSettings(list, "Net/ThemeName"), std::nullopt) << "a text";
    EXPECT_EQ(integerInXSettings(list, "Gtk/Background"), std::nullopt) << "a color";
  }
}

TEST(XSettingsList, thatIsCutAnywhereHasNothing) {
  const auto whole = XSettingsDaemon::list(kName, 1, false);
  for (std::size_t size = 0; size < whole.size(); ++size)
    EXPECT_EQ(integerInXSettings({whole.data(), size}, kName), std::nullopt) << size;
}

TEST(XSettingsList, endsAtAKindThatNobodyKnows) {
  auto list = XSettingsDaemon::list(kName, 1, false);
  list[12] = std::byte{3};  // the first setting's kind
  EXPECT_EQ(integerInXSettings(list, kName), std::nullopt);
}

TEST(XSettingsList, mayClaimMoreThanThereIs) {
  auto list = XSettingsDaemon::list(kName, 1, false);
  for (std::size_t i = 8; i < 12; ++i) list[i] = std::byte{0xff};  // the number of settings
  EXPECT_EQ(integerInXSettings(list, kName), 1);
  EXPECT_EQ(integerInXSettings(list, "Missing"), std::nullopt);
}

class XSettingsTest : public ::testing::Test {
 protected:
  XSettingsTest() {
    ::setenv("DISPLAY", server.display().c_str(), 1);
    settings = XSettings::connect();
  }
  /// Takes what comes in until `name` reads so; false when nothing more comes.
  bool becomes(std::optional<std::int32_t> expected) {
    while (settings->integer(kName) != expected) {
      pollfd news{settings->descriptor(), POLLIN, 0};
      if (::poll(&news, 1, 60'000) != 1 || !settings->readEvents()) return false;
    }
    return true;
  }

  test::XvfbServer server;
  std::unique_ptr<XSettings> settings;
};

TEST_F(XSettingsTest, areNothingWithoutADaemon) {
  ASSERT_TRUE(settings);
  EXPECT_EQ(settings->integer(kName), std::nullopt);
}

TEST_F(XSettingsTest, areFollowedFromADaemonThatComesToOneThatHasGone) {
  ASSERT_TRUE(becomes(std::nullopt));
  auto daemon = std::make_unique<XSettingsDaemon>(server.display());
  daemon->publish(kName, 0);
  EXPECT_TRUE(becomes(0));
  daemon->publish(kName, 1);
  EXPECT_TRUE(becomes(1));
  daemon.reset();
  EXPECT_TRUE(becomes(std::nullopt));
}

TEST_F(XSettingsTest, sayThatTheServerHasGone) {
  server.kill();
  pollfd news{settings->descriptor(), POLLIN, 0};
  ASSERT_EQ(::poll(&news, 1, 60'000), 1);
  EXPECT_FALSE(settings->readEvents());
  EXPECT_EQ(settings->integer(kName), std::nullopt);
}

TEST(XSettings, needAServer) {
  ::setenv("DISPLAY", ":99999", 1);
  EXPECT_FALSE(XSettings::connect());
}

}  // namespace
}  // namespace tevanto
