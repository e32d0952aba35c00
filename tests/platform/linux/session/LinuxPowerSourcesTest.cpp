#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "platform/linux/session/SysfsPowerSources.h"
#include "platform/linux/session/UPowerSources.h"
#include "tests/support/desktop/DBusMock.h"
#include "tests/support/programs/TemporaryFolder.h"

namespace tevanto {

bool operator==(const PowerSource& a, const PowerSource& b) {
  return a.currentCapacity == b.currentCapacity && a.maxCapacity == b.maxCapacity && a.state == b.state;
}

void PrintTo(const PowerSource& source, std::ostream* out) {
  *out << source.currentCapacity.value_or(-1) << "/" << source.maxCapacity.value_or(-1) << " "
       << source.state;
}

namespace {

using Sources = std::vector<PowerSource>;
using Attributes = std::vector<std::pair<std::string, std::string>>;

const std::string kBattery(PowerSources::kBatteryPower);
const std::string kAc(PowerSources::kAcPower);

class KernelSupplies {
 public:
  void add(const std::string& name, const Attributes& attributes) {
    std::filesystem::create_directory(folder_ / name);
    for (const auto& [attribute, value] : attributes)
      std::ofstream(folder_ / name / attribute) << value << "\n";
  }
  const std::filesystem::path& path() const { return folder_.path(); }
  Sources snapshot() { return SysfsPowerSources(folder_.path()).snapshot(); }

 private:
  test::TemporaryFolder folder_;
};

TEST(SysfsPowerSources, readsABatteryOnMainsAndOnItsOwn) {
  KernelSupplies supplies;
  supplies.add("AC", {{"type", "Mains"}, {"online", "1"}});
  supplies.add("BAT0", {{"type", "Battery"}, {"present", "1"}, {"capacity", "57"}, {"status", "Charging"}});
  EXPECT_EQ(supplies.snapshot(), (Sources{{57, 100, kAc}}));
  supplies.add("AC", {{"online", "0"}});
  supplies.add("BAT0", {{"status", "Discharging"}});
  EXPECT_EQ(supplies.snapshot(), (Sources{{57, 100, kBattery}}));
}

TEST(SysfsPowerSources, knowsOnWhichPowerTheMachineRuns) {
  struct Case {
    const char* name;
    std::optional<Attributes> supply;
    const char* status;
    std::string state;
  };
  const Case cases[] = {
      {"an adapter that is plugged in, whatever the battery says",
       Attributes{{"type", "Mains"}, {"online", "1"}}, "Discharging", kAc},
      {"an adapter that is not, and a driver that does not know",
       Attributes{{"type", "Mains"}, {"online", "0"}}, "Unknown", kBattery},
      {"a USB supply", Attributes{{"type", "USB"}, {"online", "1"}}, "Discharging", kAc},
      {"a USB port without a supply", Attributes{{"type", "USB"}, {"online", "0"}}, "Full", kAc},
      {"a USB port without a supply, draining", Attributes{{"type", "USB"}, {"online", "0"}}, "Discharging",
       kBattery},
      {"no adapter known, draining", std::nullopt, "Discharging", kBattery},
      {"no adapter known, full", std::nullopt, "Full", kAc},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    KernelSupplies supplies;
    if (c.supply) supplies.add("A0", *c.supply);
    supplies.add("BAT0", {{"type", "Battery"}, {"capacity", "50"}, {"status", c.status}});
    EXPECT_EQ(supplies.snapshot(), (Sources{{50, 100, c.state}}));
  }
}

TEST(SysfsPowerSources, takesEnergyOrChargeWithoutAPercentage) {
  KernelSupplies supplies;
  supplies.add("BAT0", {{"type", "Battery"}, {"energy_now", "25000000"}, {"energy_full", "50000000"}});
  supplies.add("BAT1", {{"type", "Battery"}, {"charge_now", "1200000"}, {"charge_full", "4000000"}});
  supplies.add("BAT2", {{"type", "Battery"}, {"capacity", "lots"}});
  EXPECT_EQ(supplies.snapshot(),
            (Sources{{25000000, 50000000, kAc}, {1200000, 4000000, kAc}, {std::nullopt, std::nullopt, kAc}}));
}

TEST(SysfsPowerSources, leavesOutMiceEmptyBaysAndMachinesWithoutABattery) {
  KernelSupplies supplies;
  supplies.add("hidpp_battery_0", {{"type", "Battery"}, {"scope", "Device"}, {"capacity", "5"}});
  supplies.add("BAT1", {{"type", "Battery"}, {"present", "0"}, {"capacity", "0"}});
  supplies.add("AC", {{"type", "Mains"}, {"online", "1"}});
  EXPECT_EQ(supplies.snapshot(), Sources());
  EXPECT_EQ(SysfsPowerSources("/nonexistent").snapshot(), Sources());
}

class UPowerSourcesTest : public testing::Test {
 protected:
  UPowerSourcesTest() { kernel_.add("BAT9", {{"type", "Battery"}, {"capacity", "99"}, {"status", "Full"}}); }
  void start(const std::string& onBattery) {
    upower_ = test::DBusMock::ofTemplate(bus_, "upower", "{\"OnBattery\": " + onBattery + "}");
  }
  void mock(const std::string& method, const std::vector<std::string>& arguments) {
    upower_->call("org.freedesktop.DBus.Mock." + method, arguments);
  }
  void addDevice(const std::string& name, const std::string& properties) {
    mock("AddObject", {"/org/freedesktop/UPower/devices/" + name, "org.freedesktop.UPower.Device", properties,
                       "@a(ssss) []"});
  }
  Sources snapshot() { return sources_.snapshot(); }

  const Sources fromKernel_{{99, 100, kAc}};
  KernelSupplies kernel_;
  test::PrivateBus bus_;
  std::unique_ptr<test::DBusMock> upower_;
  UPowerSources sources_{BusAddress::system(bus_.address()), kernel_.path()};
};

TEST_F(UPowerSourcesTest, readsABatteryThatDrains) {
  start("true");
  mock("AddDischargingBattery", {"mock_BAT", "Bat", "20.4", "1200"});
  EXPECT_EQ(snapshot(), (Sources{{20, 100, kBattery}}));
}

TEST_F(UPowerSourcesTest, readsABatteryOnMains) {
  start("false");
  mock("AddAC", {"mock_AC", "Adapter"});
  mock("AddChargingBattery", {"mock_BAT", "Bat", "4.5", "1200"});
  EXPECT_EQ(snapshot(), (Sources{{5, 100, kAc}}));
}

TEST_F(UPowerSourcesTest, countsOnlyBatteriesOfTheMachineAndEachOnce) {
  start("true");
  mock("SetupDisplayDevice", {"2", "2", "33.0", "33.0", "100.0", "1.0", "1", "1", "true", "icon", "1"});
  addDevice("mouse",
            "{'Type': <uint32 5>, 'PowerSupply': <false>, 'Percentage': <3.0>, 'IsPresent': <true>}");
  addDevice("headset",
            "{'Type': <uint32 2>, 'PowerSupply': <false>, 'Percentage': <4.0>, 'IsPresent': <true>}");
  addDevice("bay", "{'Type': <uint32 2>, 'PowerSupply': <true>, 'Percentage': <0.0>, 'IsPresent': <false>}");
  mock("AddDischargingBattery", {"mock_BAT", "Bat", "33.0", "1200"});
  EXPECT_EQ(snapshot(), (Sources{{33, 100, kBattery}}));
}

TEST_F(UPowerSourcesTest, theSumOfAllIsNotABatteryOfItsOwnEvenWhenListed) {
  start("true");
  mock("AddMethod", {"org.freedesktop.UPower", "EnumerateDevices", "", "ao",
                     "ret = [k for k in objects.keys() if '/devices' in k]"});
  addDevice("mock_BAT", "{'Type': <uint32 2>, 'PowerSupply': <true>, 'Percentage': <33.0>}");
  mock("SetupDisplayDevice", {"2", "2", "33.0", "33.0", "100.0", "1.0", "1", "1", "true", "icon", "1"});
  upower_->callAt("/org/freedesktop/UPower/devices/DisplayDevice", "org.freedesktop.DBus.Mock.AddProperty",
                  {"org.freedesktop.UPower.Device", "PowerSupply", "<true>"});
  EXPECT_EQ(snapshot(), (Sources{{33, 100, kBattery}}));
}

TEST_F(UPowerSourcesTest, takesTheEnergyWithoutAPercentage) {
  start("false");
  addDevice("mock_BAT",
            "{'Type': <uint32 2>, 'PowerSupply': <true>, 'Energy': <21.0>, 'EnergyFull': <50.0>}");
  addDevice("mock_dead", "{'Type': <uint32 2>, 'PowerSupply': <true>, 'Energy': <0.0>, 'EnergyFull': <0.0>}");
  EXPECT_EQ(snapshot(), (Sources{{42, 100, kAc}, {std::nullopt, std::nullopt, kAc}}));
}

TEST_F(UPowerSourcesTest, aMachineWithoutABatteryHasNone) {
  start("false");
  EXPECT_EQ(snapshot(), Sources()) << "the kernel is not asked where UPower runs";
}

TEST_F(UPowerSourcesTest, asksTheKernelWithoutUPowerOrWithoutABus) {
  EXPECT_EQ(snapshot(), fromKernel_);
  bus_.stop();
  EXPECT_EQ(snapshot(), fromKernel_);
  bus_.start();
  start("true");
  mock("AddDischargingBattery", {"mock_BAT", "Bat", "20.0", "1200"});
  EXPECT_EQ(snapshot(), (Sources{{20, 100, kBattery}})) << "UPower again, once it is there";
}

TEST_F(UPowerSourcesTest, leavesAServiceThatHangsAloneForAWhile) {
  start("true");
  mock("AddDischargingBattery", {"mock_BAT", "Bat", "20.0", "1200"});
  upower_->hang();
  EXPECT_EQ(snapshot(), fromKernel_);
  upower_->resume();
  for (int i = 0; i < UPowerSources::kSnapshotsWithoutHungService; ++i) EXPECT_EQ(snapshot(), fromKernel_);
  EXPECT_EQ(snapshot(), (Sources{{20, 100, kBattery}}));
}

}  // namespace
}  // namespace tevanto
