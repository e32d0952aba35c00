// What the callers of these interfaces rely on holds of the system's adapters and of the fakes that stand in
// for them alike.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>

#include "platform/linux/LinuxScriptHost.h"
#include "platform/linux/LogindSession.h"
#include "platform/linux/LogindSleepAssertions.h"
#include "platform/linux/PulseAudioOutput.h"
#include "platform/linux/SysfsPowerSources.h"
#include "platform/linux/UPowerSources.h"
#include "platform/linux/XdgAutostartLoginItem.h"
#include "tests/support/DBusMock.h"
#include "tests/support/FakeLoginItem.h"
#include "tests/support/FakePowerSources.h"
#include "tests/support/FakeScriptHost.h"
#include "tests/support/FakeSleepAssertions.h"
#include "tests/support/PulseServer.h"
#include "tests/support/TemporaryFolder.h"

namespace tevanto {
namespace {

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

struct LogindStage final : Stage<SleepAssertions> {
  SleepAssertions& subject() override { return assertions; }

  test::PrivateBus bus;
  std::unique_ptr<test::DBusMock> logind = test::DBusMock::ofTemplate(bus, "logind");
  LogindSleepAssertions assertions{Logger(), BusAddress::system(bus.address()),
                                   BusAddress::session(bus.address())};
};

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

INSTANTIATE_TEST_SUITE_P(, SleepAssertionsContract,
                         testing::Values(fake<SleepAssertions, test::FakeSleepAssertions>(),
                                         Implementation<SleepAssertions>{
                                             "logind", [] { return std::make_unique<LogindStage>(); }}),
                         nameOf<SleepAssertions>);

// Login item

struct AutostartStage final : Stage<LoginItem> {
  AutostartStage() {
    std::filesystem::create_directories(folder / "usr/bin");
    std::ofstream(folder / "usr/bin/tevanto") << "#!/bin/sh\n";
    std::filesystem::permissions(folder / "usr/bin/tevanto", std::filesystem::perms::owner_all);
  }
  LoginItem& subject() override { return item; }

  test::TemporaryFolder folder;
  XdgAutostartLoginItem item{{folder / "config", {}, folder / "usr/bin/tevanto", {}, {folder / "usr"}, ""}};
};

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

INSTANTIATE_TEST_SUITE_P(, LoginItemContract,
                         testing::Values(fake<LoginItem, test::FakeLoginItem>(),
                                         Implementation<LoginItem>{
                                             "autostart", [] { return std::make_unique<AutostartStage>(); }}),
                         nameOf<LoginItem>);

// Script host

struct ScriptedStage final : Stage<ScriptHost> {
  ScriptedStage() {
    host.results["set volume output volume 56"] = {true, {}, {}};
    host.results["output volume of (get volume settings)"] = {true, {}, 56};
    host.results["set volume output muted true"] = {true, {}, {}};
    host.results["output muted of (get volume settings)"] = {true, {}, true};
  }
  ScriptHost& subject() override { return host; }

  test::FakeScriptHost host;
};

struct LinuxStage final : Stage<ScriptHost> {
  ScriptHost& subject() override { return host; }

  test::PulseServer server;
  test::PrivateBus bus;
  PulseAudioOutput audio{server.address()};
  LogindSession session{BusAddress::system(bus.address()), BusAddress::session(bus.address()), {"", 1, 1000}};
  LinuxScriptHost host{audio, session};
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
  EXPECT_EQ(result.errorMessage, "bad script");
  EXPECT_FALSE(result.value);
}

INSTANTIATE_TEST_SUITE_P(
    , ScriptHostContract,
    testing::Values(Implementation<ScriptHost>{"fake", [] { return std::make_unique<ScriptedStage>(); }},
                    Implementation<ScriptHost>{"linux", [] { return std::make_unique<LinuxStage>(); }}),
    nameOf<ScriptHost>);

// Power sources: one battery, half full, draining

struct HalfFullFake final : Stage<PowerSources> {
  HalfFullFake() { sources.setBattery(50, PowerSources::kBatteryPower); }
  PowerSources& subject() override { return sources; }

  test::FakePowerSources sources;
};

struct HalfFullKernel final : Stage<PowerSources> {
  HalfFullKernel() {
    std::filesystem::create_directory(folder / "BAT0");
    for (const auto& [name, value] :
         {std::pair("type", "Battery"), std::pair("capacity", "50"), std::pair("status", "Discharging")}) {
      std::ofstream(folder / "BAT0" / name) << value << "\n";
    }
  }
  PowerSources& subject() override { return sources; }

  test::TemporaryFolder folder;
  SysfsPowerSources sources{folder.path()};
};

struct HalfFullUPower final : Stage<PowerSources> {
  HalfFullUPower() {
    upower->call("org.freedesktop.DBus.Mock.AddDischargingBattery", {"BAT0", "Bat", "50.0", "600"});
  }
  PowerSources& subject() override { return sources; }

  test::PrivateBus bus;
  std::unique_ptr<test::DBusMock> upower =
      test::DBusMock::ofTemplate(bus, "upower", R"({"OnBattery": true})");
  UPowerSources sources{BusAddress::system(bus.address()), "/nonexistent"};
};

class PowerSourcesContract : public ContractTest<PowerSources> {};

TEST_P(PowerSourcesContract, tellsTheLevelAndWhetherTheMachineDrawsFromIt) {
  const auto sources = subject().snapshot();
  ASSERT_EQ(sources.size(), 1u);
  ASSERT_TRUE(sources[0].currentCapacity && sources[0].maxCapacity);
  EXPECT_EQ(*sources[0].currentCapacity * 2, *sources[0].maxCapacity);
  EXPECT_EQ(sources[0].state, "Battery Power");
}

INSTANTIATE_TEST_SUITE_P(
    , PowerSourcesContract,
    testing::Values(Implementation<PowerSources>{"fake", [] { return std::make_unique<HalfFullFake>(); }},
                    Implementation<PowerSources>{"kernel", [] { return std::make_unique<HalfFullKernel>(); }},
                    Implementation<PowerSources>{"upower",
                                                 [] { return std::make_unique<HalfFullUPower>(); }}),
    nameOf<PowerSources>);

}  // namespace
}  // namespace tevanto
