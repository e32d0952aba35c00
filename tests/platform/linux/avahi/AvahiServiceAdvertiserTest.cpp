#include "platform/linux/avahi/AvahiServiceAdvertiser.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <future>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "platform/linux/avahi/AvahiServiceBrowser.h"
#include "tests/support/desktop/AvahiDaemon.h"
#include "tests/support/desktop/PrivateBus.h"
#include "tests/support/programs/Eventually.h"

namespace tevanto {
namespace {

using namespace std::chrono_literals;
using test::AvahiDaemon;
using test::eventually;
using test::PrivateBus;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Pair;
using testing::StartsWith;
using testing::UnorderedElementsAre;

constexpr auto kType = "_tevanto-remote._tcp";

ServiceDescription controlService(std::string name = "Study") {
  return {std::move(name), kType, 51637, {{"id", "D1"}, {"kind", "mac"}}};
}

/// What one registration was told. Outlives the registration.
class StatusRecord {
 public:
  ServiceAdvertiser::StatusHandler handler() {
    return [this](const AdvertisingStatus& status) {
      const std::lock_guard lock(mutex_);
      all_.push_back(status);
    };
  }
  AdvertisingStatus last() const {
    const std::lock_guard lock(mutex_);
    return all_.empty() ? AdvertisingStatus() : all_.back();
  }
  std::vector<AdvertisingStatus> all() const {
    const std::lock_guard lock(mutex_);
    return all_;
  }
  bool becomes(AdvertisingState state) const {
    return eventually([&] { return last().state == state; });
  }

 private:
  mutable std::mutex mutex_;
  std::vector<AdvertisingStatus> all_;
};

/// The bus stands at one address for the whole program: libdbus reads the variable once.
class AvahiAdvertising : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    bus_ = std::make_unique<PrivateBus>();
    ::setenv("DBUS_SYSTEM_BUS_ADDRESS", bus_->address().c_str(), 1);
  }
  static void TearDownTestSuite() { bus_.reset(); }
  void SetUp() override { bus_->start(); }

  static std::vector<FoundService> browse(const std::string& type = kType) {
    auto found = makeAvahiServiceBrowser()->browse(type, 10s);
    EXPECT_TRUE(found.ok()) << (found.ok() ? "" : found.error());
    return found.ok() ? found.value() : std::vector<FoundService>();
  }
  static std::vector<std::string> names() {
    std::vector<std::string> result;
    for (const auto& service : browse()) result.push_back(service.name);
    return result;
  }

  static inline std::unique_ptr<PrivateBus> bus_;
};

TEST_F(AvahiAdvertising, isFoundWithItsPortAndTextRecord) {
  const AvahiDaemon daemon(*bus_);
  StatusRecord status;
  AvahiServiceAdvertiser advertiser;
  const auto registration = advertiser.advertise(controlService("Kate's Möbel 客"), status.handler());
  ASSERT_TRUE(status.becomes(AdvertisingState::advertised));
  EXPECT_EQ(status.last(), (AdvertisingStatus{AdvertisingState::advertised, "Kate's Möbel 客", ""}));

  const auto found = browse();
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(found[0].name, "Kate's Möbel 客");
  EXPECT_EQ(found[0].port, 51637);
  EXPECT_EQ(found[0].hostName, "tevanto-test.local");
  EXPECT_THAT(found[0].addresses, ElementsAre("127.0.0.1"));
  EXPECT_THAT(found[0].txt, ElementsAre(Pair("id", "D1"), Pair("kind", "mac")));
}

TEST_F(AvahiAdvertising, keepsTheOrderOfTheTextRecordOnTheNetwork) {
  const AvahiDaemon daemon(*bus_);
  StatusRecord status;
  AvahiServiceAdvertiser advertiser;
  auto service = controlService();
  service.txt = {{"a", "first"}, {"b", ""}, {"a", "second"}, {"c", "x=y"}};
  const auto registration = advertiser.advertise(service, status.handler());
  ASSERT_TRUE(status.becomes(AdvertisingState::advertised));

  // Of several entries with one key the first on the wire counts.
  const auto found = browse();
  ASSERT_EQ(found.size(), 1u);
  EXPECT_THAT(found[0].txt, ElementsAre(Pair("a", "first"), Pair("b", ""), Pair("c", "x=y")));
}

TEST_F(AvahiAdvertising, carriesSeveralServicesAtOnce) {
  const AvahiDaemon daemon(*bus_);
  StatusRecord control;
  StatusRecord video;
  AvahiServiceAdvertiser advertiser;
  const auto first = advertiser.advertise(controlService(), control.handler());
  auto second =
      advertiser.advertise({"Study", "_tevanto-video._tcp", 51638, {{"id", "D1"}}}, video.handler());
  ASSERT_TRUE(control.becomes(AdvertisingState::advertised));
  ASSERT_TRUE(video.becomes(AdvertisingState::advertised));
  EXPECT_EQ(browse().size(), 1u);
  ASSERT_EQ(browse("_tevanto-video._tcp").size(), 1u);
  EXPECT_EQ(browse("_tevanto-video._tcp")[0].port, 51638);

  second.reset();
  EXPECT_TRUE(eventually([&] { return browse("_tevanto-video._tcp").empty(); }));
  EXPECT_EQ(browse().size(), 1u);
}

TEST_F(AvahiAdvertising, endsWithItsRegistration) {
  const AvahiDaemon daemon(*bus_);
  StatusRecord status;
  AvahiServiceAdvertiser advertiser;
  auto registration = advertiser.advertise(controlService(), status.handler());
  ASSERT_TRUE(status.becomes(AdvertisingState::advertised));
  registration.reset();
  const auto told = status.all().size();
  EXPECT_TRUE(eventually([&] { return browse().empty(); }));
  EXPECT_EQ(status.all().size(), told);
}

TEST_F(AvahiAdvertising, endsWithTheAdvertiser) {
  const AvahiDaemon daemon(*bus_);
  StatusRecord status;
  auto advertiser = std::make_unique<AvahiServiceAdvertiser>();
  const auto registration = advertiser->advertise(controlService(), status.handler());
  ASSERT_TRUE(status.becomes(AdvertisingState::advertised));
  advertiser.reset();
  EXPECT_TRUE(eventually([&] { return browse().empty(); }));
}

TEST_F(AvahiAdvertising, publishesAgainAfterTheDaemonWasRestarted) {
  AvahiDaemon daemon(*bus_);
  StatusRecord status;
  AvahiServiceAdvertiser advertiser(50ms);
  const auto registration = advertiser.advertise(controlService(), status.handler());
  ASSERT_TRUE(status.becomes(AdvertisingState::advertised));
  for (int round = 0; round < 2; ++round) {
    daemon.kill();
    ASSERT_TRUE(status.becomes(AdvertisingState::unavailable));
    EXPECT_THAT(status.last().message, HasSubstr("sudo systemctl start avahi-daemon"));
    daemon.start();
    ASSERT_TRUE(status.becomes(AdvertisingState::advertised));
    EXPECT_THAT(names(), ElementsAre("Study"));
  }
}

TEST_F(AvahiAdvertising, isUnavailableWithoutADaemonAndFollowsWhenOneAppears) {
  StatusRecord status;
  AvahiServiceAdvertiser advertiser;
  const auto registration = advertiser.advertise(controlService(), status.handler());
  ASSERT_TRUE(status.becomes(AdvertisingState::unavailable));
  EXPECT_THAT(status.last().message, HasSubstr("Discovery is off: the Avahi daemon is not running."));
  const AvahiDaemon daemon(*bus_);
  ASSERT_TRUE(status.becomes(AdvertisingState::advertised));
  EXPECT_EQ(status.last().message, "");
  EXPECT_THAT(names(), ElementsAre("Study"));
}

TEST_F(AvahiAdvertising, isUnavailableWithoutASystemBusAndFollowsWhenOneAppears) {
  bus_->stop();
  StatusRecord status;
  AvahiServiceAdvertiser advertiser(50ms);
  const auto registration = advertiser.advertise(controlService(), status.handler());
  ASSERT_TRUE(status.becomes(AdvertisingState::unavailable));
  EXPECT_THAT(status.last().message, HasSubstr("sudo systemctl start dbus"));
  StatusRecord laterStatus;
  const auto later = advertiser.advertise(controlService("Later"), laterStatus.handler());
  EXPECT_TRUE(laterStatus.becomes(AdvertisingState::unavailable));

  bus_->start();
  const AvahiDaemon daemon(*bus_);
  ASSERT_TRUE(status.becomes(AdvertisingState::advertised));
  ASSERT_TRUE(laterStatus.becomes(AdvertisingState::advertised));
  EXPECT_THAT(names(), UnorderedElementsAre("Study", "Later"));
}

TEST_F(AvahiAdvertising, survivesTheEndOfTheSystemBus) {
  auto daemon = std::make_unique<AvahiDaemon>(*bus_);
  StatusRecord status;
  AvahiServiceAdvertiser advertiser(50ms);
  const auto registration = advertiser.advertise(controlService(), status.handler());
  ASSERT_TRUE(status.becomes(AdvertisingState::advertised));
  bus_->stop();
  ASSERT_TRUE(status.becomes(AdvertisingState::unavailable));
  daemon.reset();
  bus_->start();
  daemon = std::make_unique<AvahiDaemon>(*bus_);
  ASSERT_TRUE(status.becomes(AdvertisingState::advertised));
  EXPECT_THAT(names(), ElementsAre("Study"));
}

TEST_F(AvahiAdvertising, takesAnotherNameWhenThisMachineUsesItAlready) {
  const AvahiDaemon daemon(*bus_);
  StatusRecord first;
  StatusRecord second;
  AvahiServiceAdvertiser one;
  AvahiServiceAdvertiser other;
  auto elsewhere = controlService();
  elsewhere.port = 4711;  // the very same service twice would be no collision
  const auto firstRegistration = one.advertise(controlService(), first.handler());
  ASSERT_TRUE(first.becomes(AdvertisingState::advertised));
  const auto secondRegistration = other.advertise(elsewhere, second.handler());
  ASSERT_TRUE(second.becomes(AdvertisingState::advertised));
  EXPECT_EQ(second.last().name, "Study #2");
  EXPECT_THAT(names(), UnorderedElementsAre("Study", "Study #2"));
}

/// A second machine on the network, with a service published by another program.
class Neighbor {
 public:
  explicit Neighbor(const AvahiDaemon& daemon, const std::string& service)
      : daemon_(bus_, {.hostName = "neighbor", .besides = &daemon}), publisher_(command(service), options()) {
    EXPECT_THAT(publisher_.readLine().value_or(""), HasSubstr("Established"));
  }

 private:
  static std::vector<std::string> command(const std::string& service) {
    return {"avahi-publish", "-s", service, kType, "1", "a=first", "a=second", "empty=", "flag", "b=x=y"};
  }
  test::ChildProcess::Options options() const {
    return {.environment = bus_.environment(), .mergeErrors = true};
  }

  const PrivateBus bus_;
  const AvahiDaemon daemon_;
  test::ChildProcess publisher_;
};

TEST_F(AvahiAdvertising, takesAnotherNameWhenAnotherMachineUsesIt) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can lay a cable between two networks";
  const AvahiDaemon daemon(*bus_);
  const Neighbor neighbor(daemon, "Study");
  StatusRecord status;
  AvahiServiceAdvertiser advertiser;
  const auto registration = advertiser.advertise(controlService(), status.handler());
  ASSERT_TRUE(status.becomes(AdvertisingState::advertised));
  EXPECT_EQ(status.last().name, "Study #2");
  EXPECT_THAT(names(), UnorderedElementsAre("Study", "Study #2"));
}

TEST_F(AvahiAdvertising, browsingMergesTheAddressesOfOneService) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can lay a cable between two networks";
  const AvahiDaemon daemon(*bus_);
  const Neighbor neighbor(daemon, "Attic");
  // Interfaces have names only inside their network: the search goes there.
  std::vector<FoundService> found;
  std::thread([&] {
    const auto path = "/proc/" + std::to_string(daemon.pid()) + "/ns/net";
    const int network = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_EQ(::setns(network, CLONE_NEWNET), 0);
    ::close(network);
    ASSERT_TRUE(eventually([&] {
      found = browse();
      return found.size() == 1 && found[0].addresses.size() == 2;
    }));
  }).join();
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(found[0].hostName, "neighbor.local");
  EXPECT_THAT(found[0].addresses,
              ElementsAre("10.99.0.2", testing::AllOf(StartsWith("fe80::"), EndsWith("%tevanto0"))));
  EXPECT_THAT(found[0].txt,
              ElementsAre(Pair("a", "first"), Pair("b", "x=y"), Pair("empty", ""), Pair("flag", "")));
}

TEST_F(AvahiAdvertising, followsAChangeOfTheHostName) {
  const AvahiDaemon daemon(*bus_);
  StatusRecord status;
  AvahiServiceAdvertiser advertiser;
  const auto registration = advertiser.advertise(controlService(), status.handler());
  ASSERT_TRUE(status.becomes(AdvertisingState::advertised));
  bus_->call("org.freedesktop.Avahi", "/", "org.freedesktop.Avahi.Server.SetHostName", {"attic"});
  ASSERT_TRUE(eventually([&] { return status.all().size() >= 3; }));
  EXPECT_EQ(status.all()[1].state, AdvertisingState::pending);
  EXPECT_EQ(status.last().state, AdvertisingState::advertised);
  const auto found = browse();
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(found[0].hostName, "attic.local");
}

TEST_F(AvahiAdvertising, saysWhyTheDaemonRefusesAService) {
  const AvahiDaemon daemon(*bus_);
  StatusRecord status;
  AvahiServiceAdvertiser advertiser;
  const auto registration = advertiser.advertise({"Study", "no type", 1, {}}, status.handler());
  ASSERT_TRUE(eventually([&] { return !status.all().empty(); }));
  EXPECT_EQ(status.last(), (AdvertisingStatus{AdvertisingState::pending, "Study",
                                              "The Avahi daemon does not publish the service: Invalid "
                                              "service type."}));
}

TEST_F(AvahiAdvertising, mayBeTakenDownInsideAStatusCallback) {
  const AvahiDaemon daemon(*bus_);
  auto advertiser = std::make_unique<AvahiServiceAdvertiser>();
  std::promise<ServiceAdvertiser::Registration> handedOver;
  auto registration = handedOver.get_future();
  std::promise<void> done;
  int calls = 0;
  handedOver.set_value(advertiser->advertise(controlService(), [&](const AdvertisingStatus&) {
    ++calls;
    registration.get().reset();
    advertiser.reset();
    done.set_value();
  }));
  done.get_future().wait();
  EXPECT_TRUE(eventually([&] { return browse().empty(); }));
  EXPECT_EQ(calls, 1);
}

TEST_F(AvahiAdvertising, isSilentOnceTheRegistrationIsDropped) {
  AvahiDaemon daemon(*bus_);
  AvahiServiceAdvertiser advertiser(20ms);
  for (int round = 0; round < 200; ++round) {
    auto alive = std::make_shared<std::atomic<bool>>(true);
    auto registration =
        advertiser.advertise(controlService(), [alive](const AdvertisingStatus&) { EXPECT_TRUE(*alive); });
    if (round % 3 == 1) std::this_thread::yield();
    if (round % 50 == 2) browse();  // long enough for it to be advertised
    registration.reset();
    *alive = false;
    EXPECT_EQ(alive.use_count(), 1) << "the callback is gone, with what it holds";
  }
}

TEST_F(AvahiAdvertising, leavesNoThreadAndNoDescriptorBehind) {
  const AvahiDaemon daemon(*bus_);
  const auto count = [](const char* folder) {
    return std::distance(std::filesystem::directory_iterator(folder), std::filesystem::directory_iterator());
  };
  const auto cycle = [] {
    StatusRecord status;
    AvahiServiceAdvertiser advertiser;
    const auto registration = advertiser.advertise(controlService(), status.handler());
    EXPECT_TRUE(status.becomes(AdvertisingState::advertised));
    browse();
  };
  cycle();
  const auto descriptors = count("/proc/self/fd");
  const auto threads = count("/proc/self/task");
  for (int i = 0; i < 3; ++i) cycle();
  EXPECT_EQ(count("/proc/self/fd"), descriptors);
  EXPECT_EQ(count("/proc/self/task"), threads);
}

TEST_F(AvahiAdvertising, sleepsWithoutWakingUpWhileNothingHappens) {
  const AvahiDaemon daemon(*bus_);
  StatusRecord status;
  AvahiServiceAdvertiser advertiser;
  const auto registration = advertiser.advertise(controlService(), status.handler());
  ASSERT_TRUE(status.becomes(AdvertisingState::advertised));
  const auto switches = [] {
    long total = 0;
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
      std::ifstream comm(task.path() / "comm");
      std::string line;
      if (!std::getline(comm, line) || line != "avahi") continue;
      std::ifstream file(task.path() / "status");
      while (std::getline(file, line)) {
        if (line.starts_with("voluntary_ctxt_switches:")) total += std::stol(line.substr(24));
      }
    }
    return total;
  };
  // The wait is the measurement: it has to be real time. The library hears of everybody who comes to or
  // leaves the bus, so the first windows may see the last of those.
  bool slept = false;
  for (int window = 0; window < 5 && !slept; ++window) {
    const auto before = switches();
    ASSERT_GT(before, 0);
    std::this_thread::sleep_for(2s);
    slept = switches() == before;
  }
  EXPECT_TRUE(slept);
}

TEST_F(AvahiAdvertising, browsingWithoutADaemonSaysWhatToDo) {
  const auto found = makeAvahiServiceBrowser()->browse(kType, 1s);
  ASSERT_FALSE(found.ok());
  EXPECT_THAT(found.error(), HasSubstr("sudo systemctl start avahi-daemon"));
  bus_->stop();
  EXPECT_FALSE(makeAvahiServiceBrowser()->browse(kType, 1s).ok());
}

TEST_F(AvahiAdvertising, browsingReturnsBeforeTheLimitWhenThereIsNoMoreToCome) {
  const AvahiDaemon daemon(*bus_);
  EXPECT_THAT(browse("_nothing._tcp"), IsEmpty());
  // An hour stands for "would not return": the test's own time limit ends it.
  const auto found = makeAvahiServiceBrowser()->browse("_nothing._tcp", 1h);
  EXPECT_TRUE(found.ok());
}

}  // namespace
}  // namespace tevanto
