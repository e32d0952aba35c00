#include "remote/message/RemoteMessage.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <unordered_map>

namespace tevanto {
namespace {

/// The digest by hand: the definition over a joined text.
std::string digestOf(std::string_view text) {
  std::uint64_t hash = 5381;
  for (const char c : text) hash = hash * 33 + static_cast<unsigned char>(c);
  char digits[17];
  std::snprintf(digits, sizeof digits, "%016llx", static_cast<unsigned long long>(hash));
  return digits;
}

RemoteAppInfo app(std::string identifier, std::optional<double> date) {
  return {.name = "App", .bundleId = std::move(identifier), .iconPNGBase64 = {}, .installedDate = date};
}

TEST(RemoteMessage, listsTheTenCapabilitiesInOrder) {
  EXPECT_EQ(capabilityList(),
            (std::vector<std::string>{"pointer", "scroll", "keyboard", "text", "appLaunch", "mediaKeys",
                                      "systemControl", "power", "mirror", "keepAwake"}));
}

TEST(RemoteMessage, namesTheFourModifiers) {
  EXPECT_EQ(wireName(RemoteModifier::shift), "shift");
  EXPECT_EQ(wireName(RemoteModifier::option), "option");
  EXPECT_EQ(wireName(RemoteModifier::control), "control");
  EXPECT_EQ(wireName(RemoteModifier::command), "command");
  EXPECT_EQ(modifierNamed("shift"), RemoteModifier::shift);
  EXPECT_EQ(modifierNamed("option"), RemoteModifier::option);
  EXPECT_EQ(modifierNamed("control"), RemoteModifier::control);
  EXPECT_EQ(modifierNamed("command"), RemoteModifier::command);
  for (const auto* other : {"", "cmd", "Shift", "command ", "ctrl"})
    EXPECT_FALSE(modifierNamed(other)) << other;
}

TEST(RemoteAppInfo, isEqualOverAllFourFieldsAndHashesAlike) {
  const RemoteAppInfo one{.name = "A", .bundleId = "b", .iconPNGBase64 = "i", .installedDate = 1.0};
  for (auto change : {+[](RemoteAppInfo& a) { a.name = "x"; }, +[](RemoteAppInfo& a) { a.bundleId = "x"; },
                      +[](RemoteAppInfo& a) { a.iconPNGBase64.reset(); },
                      +[](RemoteAppInfo& a) { a.installedDate = 2.0; }}) {
    auto other = one;
    EXPECT_EQ(other, one);
    EXPECT_EQ(std::hash<RemoteAppInfo>()(other), std::hash<RemoteAppInfo>()(one));
    change(other);
    EXPECT_NE(other, one);
    EXPECT_NE(std::hash<RemoteAppInfo>()(other), std::hash<RemoteAppInfo>()(one));
  }
}

TEST(AppsHash, ofNoApplicationsIsTheSeed) { EXPECT_EQ(appsHash({}), "0000000000001505"); }

TEST(AppsHash, isTheDigestOfIdentifierAndDate) {
  EXPECT_EQ(appsHash({app("org.a", 1000.0)}), digestOf("org.a|1000.0"));
  EXPECT_EQ(appsHash({app("org.a", std::nullopt)}), digestOf("org.a|0.0"));
  EXPECT_EQ(appsHash({app("org.b", 2.5), app("org.a", 1.0)}), digestOf("org.a|1.0\norg.b|2.5"));
}

TEST(AppsHash, writesDatesInTheirShortestDecimalFormWithAPoint) {
  const std::vector<std::pair<double, std::string>> forms = {
      {0.0, "0.0"},
      {1700000000.0, "1700000000.0"},
      {1700000000.123456, "1700000000.123456"},
      {0.1, "0.1"},
      {-5.0, "-5.0"},
      {1e-7, "0.0000001"},
      {1e21, "1000000000000000000000.0"},
      {std::numeric_limits<double>::quiet_NaN(), "0.0"},
  };
  for (const auto& [value, text] : forms) {
    EXPECT_EQ(appsHash({app("x", value)}), digestOf("x|" + text)) << text;
  }
  // The longest of all decimal forms fits too.
  EXPECT_EQ(appsHash({app("x", -std::numeric_limits<double>::denorm_min())}),
            digestOf("x|-0." + std::string(323, '0') + "5"));
}

TEST(AppsHash, takesEveryByteAsUnsigned) {
  EXPECT_EQ(appsHash({app("\xC3\xA9", 0.0)}), digestOf("\xC3\xA9|0.0"));
}

TEST(AppsHash, doesNotDependOnOrderNamesOrIcons) {
  std::vector<RemoteAppInfo> apps = {app("c", 3.0), app("a", 1.0), app("b", 2.0)};
  const auto digest = appsHash(apps);
  std::swap(apps[0], apps[2]);
  EXPECT_EQ(appsHash(apps), digest);
  apps[1].name = "renamed";
  apps[1].iconPNGBase64 = "AAAA";
  EXPECT_EQ(appsHash(apps), digest);
  apps[1].installedDate = 9.0;
  EXPECT_NE(appsHash(apps), digest);
}

}  // namespace
}  // namespace tevanto
