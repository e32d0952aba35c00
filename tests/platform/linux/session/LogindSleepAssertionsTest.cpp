#include "platform/linux/session/LogindSleepAssertions.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "tests/support/desktop/DBusMock.h"
#include "tests/support/programs/Eventually.h"

namespace tevanto {
namespace {

constexpr auto kReason = "Tevanto is keeping this Mac available after screen lock";
constexpr auto kNoInhibitors = "(@a(ssssuu) [],)\n";

class LogindSleepAssertionsTest : public testing::Test {
 protected:
  void startLogind() { logind_ = test::DBusMock::ofTemplate(system_, "logind"); }
  void startSessionManager() {
    gnome_ = std::make_unique<test::DBusMock>(session_, "org.gnome.SessionManager",
                                              "/org/gnome/SessionManager", "org.gnome.SessionManager");
    gnome_->addMethod({"org.gnome.SessionManager", "Inhibit", "susu", "u", "ret = 71"});
    gnome_->addMethod({"org.gnome.SessionManager", "Uninhibit", "u", "", ""});
  }
  void startPowerManagement() {
    const std::string name = "org.freedesktop.PowerManagement.Inhibit";
    power_ = std::make_unique<test::DBusMock>(session_, "org.freedesktop.PowerManagement",
                                              "/org/freedesktop/PowerManagement/Inhibit", name);
    power_->addMethod({name, "Inhibit", "ss", "u", "ret = 72"});
    power_->addMethod({name, "UnInhibit", "u", "", ""});
  }
  std::string inhibitors() { return logind_->call("org.freedesktop.login1.Manager.ListInhibitors"); }
  SleepAssertions::Created create() {
    return assertions_.create(SleepAssertions::kPreventUserIdleSystemSleep, kReason);
  }
  static bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
  }
  /// Who is on the session bus, besides the daemon's own entry.
  std::size_t sessionConnections() {
    const auto names =
        session_.call("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus.ListNames");
    std::size_t count = 0;
    for (auto at = names.find("':"); at != names.npos; at = names.find("':", at + 1)) ++count;
    return count;
  }

  test::PrivateBus system_;
  test::PrivateBus session_;
  std::unique_ptr<test::DBusMock> logind_;
  std::unique_ptr<test::DBusMock> gnome_;
  std::unique_ptr<test::DBusMock> power_;
  LogindSleepAssertions assertions_{Logger(), BusAddress::system(system_.address()),
                                    BusAddress::session(session_.address())};
};

TEST_F(LogindSleepAssertionsTest, holdsAnIdleInhibitorUntilItIsReleased) {
  startLogind();
  const auto created = create();
  ASSERT_EQ(created.code, 0);
  const auto held = inhibitors();
  EXPECT_TRUE(contains(held, std::string("('idle', 'Tevanto', '") + kReason + "', 'block'")) << held;
  EXPECT_EQ(held.find("sleep:"), held.npos);

  EXPECT_EQ(assertions_.release(created.identifier), 0);
  EXPECT_TRUE(test::eventually([&] { return inhibitors() == kNoInhibitors; })) << inhibitors();
  EXPECT_EQ(assertions_.release(created.identifier), EINVAL) << "it stands for nothing any more";
}

TEST_F(LogindSleepAssertionsTest, twoAssertionsAreHeldAndReleasedOnTheirOwn) {
  startLogind();
  const auto first = create();
  const auto second = create();
  ASSERT_NE(first.identifier, second.identifier);
  EXPECT_EQ(assertions_.release(first.identifier), 0);
  EXPECT_TRUE(test::eventually([&] {
    const auto held = inhibitors();
    return held != kNoInhibitors && held.find("idle") == held.rfind("idle");
  })) << inhibitors();
  EXPECT_EQ(assertions_.release(second.identifier), 0);
}

TEST_F(LogindSleepAssertionsTest, theSessionServicesHoldOffSleepToo) {
  startLogind();
  startSessionManager();
  startPowerManagement();
  const auto created = create();
  ASSERT_EQ(created.code, 0);
  EXPECT_TRUE(contains(gnome_->calls(), std::string("'Inhibit', [<'app.tevanto.Tevanto'>, <uint32 0>, <'") +
                                            kReason + "'>, <uint32 4>]"))
      << gnome_->calls();
  EXPECT_TRUE(contains(power_->calls(), std::string("'Inhibit', [<'Tevanto'>, <'") + kReason + "'>]"))
      << power_->calls();

  EXPECT_EQ(assertions_.release(created.identifier), 0);
  EXPECT_TRUE(contains(gnome_->calls(), "'Uninhibit', [<uint32 71>]")) << gnome_->calls();
  EXPECT_TRUE(contains(power_->calls(), "'UnInhibit', [<uint32 72>]")) << power_->calls();
  EXPECT_TRUE(test::eventually([&] { return inhibitors() == kNoInhibitors; }));
}

TEST_F(LogindSleepAssertionsTest, theSessionServicesLoseTheirHolderEvenWhenTheyHang) {
  startSessionManager();
  const auto before = sessionConnections();
  const auto created = create();
  ASSERT_EQ(created.code, 0) << "the session manager alone prevents sleep";
  EXPECT_EQ(sessionConnections(), before + 1);
  gnome_->hang();
  EXPECT_EQ(assertions_.release(created.identifier), 0);
  EXPECT_TRUE(test::eventually([&] { return sessionConnections() == before; }));
}

TEST_F(LogindSleepAssertionsTest, nothingStaysOpenOnTheSessionBusThatHoldsNothing) {
  startLogind();
  const auto before = sessionConnections();
  ASSERT_EQ(create().code, 0);
  EXPECT_TRUE(test::eventually([&] { return sessionConnections() == before; }));
}

TEST_F(LogindSleepAssertionsTest, worksWithoutASessionBus) {
  startLogind();
  session_.stop();
  const auto created = create();
  ASSERT_EQ(created.code, 0);
  EXPECT_TRUE(contains(inhibitors(), "'idle'"));
}

TEST_F(LogindSleepAssertionsTest, failsWithACodeWhenNobodyHoldsOffSleep) {
  EXPECT_GT(create().code, 0) << "no logind";
  system_.stop();
  EXPECT_GT(create().code, 0) << "no bus";
  EXPECT_EQ(assertions_.release(1), EINVAL);
}

TEST_F(LogindSleepAssertionsTest, aLogindThatHangsIsATimeoutUnlessAnotherServiceHelps) {
  startLogind();
  logind_->hang();
  EXPECT_EQ(create().code, ETIMEDOUT);
  startPowerManagement();
  EXPECT_EQ(create().code, 0);
}

TEST_F(LogindSleepAssertionsTest, worksAgainAfterTheBusCameBack) {
  system_.stop();
  EXPECT_GT(create().code, 0);
  system_.start();
  startLogind();
  EXPECT_EQ(create().code, 0);
}

TEST_F(LogindSleepAssertionsTest, anotherTypeOfAssertionIsRefused) {
  startLogind();
  EXPECT_EQ(assertions_.create("PreventUserIdleDisplaySleep", kReason).code, EINVAL);
  EXPECT_EQ(inhibitors(), kNoInhibitors);
}

TEST_F(LogindSleepAssertionsTest, theInhibitorEndsWithAProcessThatIsKilled) {
  startLogind();
  test::ChildProcess::Options options;
  options.environment = {{"DBUS_SYSTEM_BUS_ADDRESS", system_.address()},
                         {"DBUS_SESSION_BUS_ADDRESS", session_.address()}};
  test::ChildProcess holder({HOLD_SLEEP_ASSERTION}, std::move(options));
  ASSERT_EQ(holder.readLine(), "0");
  EXPECT_TRUE(contains(inhibitors(), "'until killed'"));
  holder.kill();
  EXPECT_TRUE(test::eventually([&] { return inhibitors() == kNoInhibitors; })) << inhibitors();
}

TEST_F(LogindSleepAssertionsTest, theInhibitorEndsWithTheObject) {
  startLogind();
  {
    LogindSleepAssertions brief(Logger(), BusAddress::system(system_.address()),
                                BusAddress::session(session_.address()));
    ASSERT_EQ(brief.create(SleepAssertions::kPreventUserIdleSystemSleep, "brief").code, 0);
    EXPECT_TRUE(contains(inhibitors(), "'brief'"));
  }
  EXPECT_TRUE(test::eventually([&] { return inhibitors() == kNoInhibitors; }));
}

}  // namespace
}  // namespace tevanto
