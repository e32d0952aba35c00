#pragma once

// What the callers of these interfaces rely on, for every system's adapters and for the fakes alike.

#include <gtest/gtest.h>

#include <string>

#include "control/LoginItem.h"
#include "control/ScriptHost.h"
#include "control/SleepAssertions.h"
#include "tests/platform/contracts/ContractTest.h"
#include "tests/support/fakes/FakeScriptHost.h"

namespace tevanto::test {

// Sleep assertions

class SleepAssertionsContract : public ContractTest<SleepAssertions> {
 protected:
  SleepAssertions::Created create() {
    return subject().create(SleepAssertions::kPreventUserIdleSystemSleep, "contract");
  }
};

TEST_P(SleepAssertionsContract, eachAssertionIsReleasedOnce) {
  const auto first = create();
  const auto second = create();
  ASSERT_EQ(first.code, 0);
  ASSERT_EQ(second.code, 0);
  EXPECT_NE(first.identifier, second.identifier);
  EXPECT_EQ(subject().release(first.identifier), 0);
  EXPECT_NE(subject().release(first.identifier), 0) << "again";
  EXPECT_EQ(subject().release(second.identifier), 0);
  EXPECT_NE(subject().release(12345), 0) << "never made";
}

// Login item

class LoginItemContract : public ContractTest<LoginItem> {};

TEST_P(LoginItemContract, isEnabledFromRegistrationToItsEnd) {
  EXPECT_EQ(subject().status(), LoginItemStatus::notRegistered);
  for (int i = 0; i < 2; ++i) {
    ASSERT_TRUE(subject().registerItem());
    EXPECT_EQ(subject().status(), LoginItemStatus::enabled);
  }
  for (int i = 0; i < 2; ++i) {
    ASSERT_TRUE(subject().unregisterItem());
    EXPECT_EQ(subject().status(), LoginItemStatus::notRegistered);
  }
}

// Script host

struct ScriptedStage final : Stage<ScriptHost> {
  ScriptedStage() {
    host.results["set volume output volume 56"] = {true, {}, {}};
    host.results["output volume of (get volume settings)"] = {true, {}, 56};
    host.results["set volume output muted true"] = {true, {}, {}};
    host.results["output muted of (get volume settings)"] = {true, {}, true};
  }
  ScriptHost& subject() override { return host; }

  FakeScriptHost host;
};

class ScriptHostContract : public ContractTest<ScriptHost> {};

TEST_P(ScriptHostContract, readsBackWhatItSetWithTheRightTypes) {
  EXPECT_TRUE(subject().run(std::string(script::kSetOutputVolume) + "56").success);
  const auto volume = subject().run(script::kOutputVolume);
  ASSERT_TRUE(volume.success && volume.value);
  EXPECT_EQ(std::get<std::int32_t>(*volume.value), 56);
  EXPECT_TRUE(subject().run(std::string(script::kSetOutputMuted) + "true").success);
  const auto muted = subject().run(script::kOutputMuted);
  ASSERT_TRUE(muted.success && muted.value);
  EXPECT_EQ(std::get<bool>(*muted.value), true);
}

TEST_P(ScriptHostContract, refusesWhatIsNoScript) {
  const auto result = subject().run("make coffee");
  EXPECT_FALSE(result.success);
  EXPECT_FALSE(result.errorMessage.empty());
  EXPECT_FALSE(result.value);
}

}  // namespace tevanto::test
