// The adapters of a Mac against the contracts of every system, and what else their callers rely on. Whoever
// runs this sees the volume change.

#include <gmock/gmock.h>

#include <array>
#include <cstring>
#include <memory>

#include "core/text/Uuid.h"
#include "platform/macos/control/AppKitWorkspace.h"
#include "platform/macos/control/AppleScriptHost.h"
#include "platform/macos/control/IoKitPowerSources.h"
#include "platform/macos/control/IoKitSleepAssertions.h"
#include "platform/macos/control/SmAppServiceLoginItem.h"
#include "platform/macos/foundation/CfUserDefaults.h"
#include "platform/macos/foundation/CfUserPreferences.h"
#include "platform/macos/foundation/MacComputerName.h"
#include "tests/platform/contracts/SystemContracts.h"
#include "tests/platform/contracts/UserDefaultsContract.h"
#include "tests/support/fakes/ManualQueue.h"

namespace tevanto {
namespace test {
namespace {

struct IoKitStage final : Stage<SleepAssertions> {
  SleepAssertions& subject() override { return assertions; }

  IoKitSleepAssertions assertions;
};

INSTANTIATE_TEST_SUITE_P(, SleepAssertionsContract,
                         testing::Values(Implementation<SleepAssertions>{
                             "iokit", [] { return std::make_unique<IoKitStage>(); }}),
                         nameOf<SleepAssertions>);

struct AppleScriptStage final : Stage<ScriptHost> {
  ScriptHost& subject() override { return host; }

  // A test runs on the main thread, as scripts have to.
  AppleScriptHost host{std::make_shared<ManualQueue>("main")};
};

INSTANTIATE_TEST_SUITE_P(, ScriptHostContract,
                         testing::Values(Implementation<ScriptHost>{
                             "applescript", [] { return std::make_unique<AppleScriptStage>(); }}),
                         nameOf<ScriptHost>);

struct CfUserDefaultsStage final : Stage<UserDefaults> {
  ~CfUserDefaultsStage() override {
    for (const auto& [key, value] : defaults.all()) (void)defaults.remove(key);
  }
  UserDefaults& subject() override { return defaults; }

  CfUserDefaults defaults{"app.tevanto.contract-test." + randomUuid()};
};

INSTANTIATE_TEST_SUITE_P(, UserDefaultsContract,
                         testing::Values(Implementation<UserDefaults>{
                             "cfpreferences", [] { return std::make_unique<CfUserDefaultsStage>(); }}),
                         nameOf<UserDefaults>);

// A test program is no application bundle, so that it cannot be registered.
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(LoginItemContract);

}  // namespace
}  // namespace test

namespace {

TEST(SmAppServiceLoginItemContract, aProgramThatIsNoBundleIsNotEnabled) {
  EXPECT_NE(SmAppServiceLoginItem().status(), LoginItemStatus::enabled);
}

TEST(IoKitPowerSourcesContract, aSourceHasItsLevelWithinItsCapacity) {
  for (const auto& source : IoKitPowerSources().snapshot()) {
    ASSERT_TRUE(source.currentCapacity && source.maxCapacity);
    EXPECT_GE(*source.currentCapacity, 0);
    EXPECT_LE(*source.currentCapacity, *source.maxCapacity);
    EXPECT_FALSE(source.state.empty());
  }
}

TEST(CfUserPreferencesContract, hotKeysAreADictionaryAndUnknownDomainsEmpty) {
  CfUserPreferences preferences;
  const auto hotKeys = preferences.value("AppleSymbolicHotKeys", "com.apple.symbolichotkeys");
  if (hotKeys) {
    EXPECT_NE(hotKeys->dictionary(), nullptr);
  }
  EXPECT_FALSE(preferences.value("AppleSymbolicHotKeys", "app.tevanto.no-such-domain"));
}

class AppKitWorkspaceContract : public testing::Test {
 protected:
  std::optional<ApplicationBundle> textEdit() {
    for (const auto& bundle : workspace_.applicationsIn("/System/Applications"))
      if (bundle.identifier == "com.apple.TextEdit") return bundle;
    return std::nullopt;
  }

  AppKitWorkspace workspace_;
};

TEST_F(AppKitWorkspaceContract, findsAnApplicationOfTheSystemByFolderAndIdentifier) {
  const auto found = textEdit();
  ASSERT_TRUE(found);
  EXPECT_EQ(found->fileName, "TextEdit");
  EXPECT_TRUE(found->created);
  EXPECT_TRUE(workspace_.exists(found->location));
  EXPECT_EQ(workspace_.locationOf("com.apple.TextEdit"), found->location);
  EXPECT_FALSE(workspace_.locationOf("app.tevanto.no-such-application"));
  EXPECT_FALSE(workspace_.exists("/System/Applications/No Such Application.app"));
  EXPECT_TRUE(workspace_.applicationsIn("/No Such Folder").empty());
}

TEST_F(AppKitWorkspaceContract, iconsArePicturesOf64PixelsSquared) {
  const auto found = textEdit();
  ASSERT_TRUE(found);
  const auto png = workspace_.iconPng(*found);
  ASSERT_TRUE(png && png->size() > 24);
  constexpr std::array<unsigned char, 8> kSignature{0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
  EXPECT_EQ(std::memcmp(png->data(), kSignature.data(), kSignature.size()), 0);
  EXPECT_EQ(std::to_integer<int>((*png)[19]), Workspace::kIconPixels) << "width";
  EXPECT_EQ(std::to_integer<int>((*png)[23]), Workspace::kIconPixels) << "height";
}

TEST(MacComputerNameContract, isThereOnEveryMacThatWasSetUp) { EXPECT_TRUE(macComputerName()); }

}  // namespace
}  // namespace tevanto
