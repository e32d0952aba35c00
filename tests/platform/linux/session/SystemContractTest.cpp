// What the callers of these interfaces rely on holds of the system's adapters and of the fakes that stand in
// for them alike.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>

#include "platform/linux/audio/LinuxScriptHost.h"
#include "platform/linux/audio/PulseAudioOutput.h"
#include "platform/linux/desktop/applications/XdgAutostartLoginItem.h"
#include "platform/linux/session/LogindSession.h"
#include "platform/linux/session/LogindSleepAssertions.h"
#include "platform/linux/session/SysfsPowerSources.h"
#include "platform/linux/session/UPowerSources.h"
#include "tests/platform/contracts/SystemContracts.h"
#include "tests/support/desktop/DBusMock.h"
#include "tests/support/desktop/PulseServer.h"
#include "tests/support/fakes/FakeLoginItem.h"
#include "tests/support/fakes/FakePowerSources.h"
#include "tests/support/fakes/FakeSleepAssertions.h"
#include "tests/support/programs/TemporaryFolder.h"

namespace tevanto {
namespace {

using namespace test;  // the contracts

// Sleep assertions

struct LogindStage final : Stage<SleepAssertions> {
  SleepAssertions& subject() override { return assertions; }

  test::PrivateBus bus;
  std::unique_ptr<test::DBusMock> logind = test::DBusMock::ofTemplate(bus, "logind");
  LogindSleepAssertions assertions{Logger(), BusAddress::system(bus.address()),
                                   BusAddress::session(bus.address())};
};

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

INSTANTIATE_TEST_SUITE_P(, LoginItemContract,
                         testing::Values(fake<LoginItem, test::FakeLoginItem>(),
                                         Implementation<LoginItem>{
                                             "autostart", [] { return std::make_unique<AutostartStage>(); }}),
                         nameOf<LoginItem>);

// Script host

struct LinuxStage final : Stage<ScriptHost> {
  ScriptHost& subject() override { return host; }

  test::PulseServer server;
  test::PrivateBus bus;
  PulseAudioOutput audio{server.address()};
  LogindSession session{BusAddress::system(bus.address()), BusAddress::session(bus.address()), {"", 1, 1000}};
  LinuxScriptHost host{audio, session};
};

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
