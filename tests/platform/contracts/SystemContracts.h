#pragma once

// What the callers of these interfaces rely on, for every system's adapters and for the fakes alike. Each
// program instantiates the suites for what it has; one that it leaves out says so with
// GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST.

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>

#include "control/LoginItem.h"
#include "control/ScriptHost.h"
#include "control/SleepAssertions.h"
#include "tests/support/FakeScriptHost.h"

namespace tevanto::test {

/// An implementation with the servers that it needs around it.
template <class Interface>
struct Stage {
  virtual ~Stage() = default;
  virtual Interface& subject() = 0;
};

template <class Interface>
struct Implementation {
  const char* name;
  std::function<std::unique_ptr<Stage<Interface>>()> make;
};

template <class Interface>
void PrintTo(const Implementation<Interface>& implementation, std::ostream* out) {
  *out << implementation.name;
}

template <class Interface>
class ContractTest : public testing::TestWithParam<Implementation<Interface>> {
 protected:
  Interface& subject() { return stage_->subject(); }

 private:
  std::unique_ptr<Stage<Interface>> stage_ = this->GetParam().make();
};

template <class Interface, class Fake>
Implementation<Interface> fake() {
  struct FakeStage final : Stage<Interface> {
    Interface& subject() override { return double_; }
    Fake double_;
  };
  return {"fake", [] { return std::make_unique<FakeStage>(); }};
}

template <class Interface>
std::string nameOf(const testing::TestParamInfo<Implementation<Interface>>& info) {
  return info.param.name;
}

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
