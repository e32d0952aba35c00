#include "control/MacLaunchAtLoginController.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "tests/support/fakes/FakeLoginItem.h"
#include "tests/support/fakes/FakeUserDefaults.h"
#include "tests/support/fakes/ManualQueue.h"

namespace tevanto {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr auto* kOptOut = "tevanto.launchAtLogin.optedOut";

class RecordingSink final : public LogSink {
 public:
  std::vector<std::string> errors;
  void write(LogLevel level, std::string_view, std::string_view message) override {
    if (level == LogLevel::error) errors.emplace_back(message);
  }
};

class MacLaunchAtLoginControllerTest : public testing::Test {
 protected:
  // What still waits for the observers holds the queue that holds it.
  ~MacLaunchAtLoginControllerTest() override { mainQueue_->runPending(); }

  void expectShown(bool enabled, const std::string& text) {
    EXPECT_EQ(controller_.isEnabled.get(), enabled);
    EXPECT_EQ(controller_.statusText.get(), text);
  }

  std::shared_ptr<test::ManualQueue> mainQueue_ = std::make_shared<test::ManualQueue>("main");
  std::shared_ptr<RecordingSink> sink_ = std::make_shared<RecordingSink>();
  test::FakeLoginItem item_;
  test::FakeUserDefaults defaults_;
  MacLaunchAtLoginController controller_{mainQueue_, item_, defaults_, Logger(sink_, "login-item")};
};

TEST_F(MacLaunchAtLoginControllerTest, showsEachStatus) {
  const std::tuple<LoginItemStatus, bool, const char*> rows[] = {
      {LoginItemStatus::enabled, true, "Starts after login"},
      {LoginItemStatus::notRegistered, false, "Off"},
      {LoginItemStatus::requiresApproval, false, "Approval required"},
      {LoginItemStatus::notFound, false, "Install in Applications"},
      {LoginItemStatus::unknown, false, "Unavailable"},
      {static_cast<LoginItemStatus>(77), false, "Unavailable"}};
  for (const auto& [status, enabled, text] : rows) {
    item_.current = status;
    controller_.refresh();
    expectShown(enabled, text);
  }
}

TEST_F(MacLaunchAtLoginControllerTest, registersOnTheFirstRun) {
  controller_.applyDefault();
  EXPECT_EQ(item_.registrations, 1);
  EXPECT_EQ(item_.settingsOpened, 0);
  EXPECT_THAT(defaults_.all(), IsEmpty());
  expectShown(true, "Starts after login");
}

TEST_F(MacLaunchAtLoginControllerTest, respectsTheOptOutAtStart) {
  ASSERT_TRUE(defaults_.set(kOptOut, true));
  controller_.applyDefault();
  EXPECT_EQ(item_.registrations, 0);
  EXPECT_EQ(defaults_.value(kOptOut), DefaultsValue(true));
  expectShown(false, "Off");
}

TEST_F(MacLaunchAtLoginControllerTest, registersWhenTheOptOutIsNotTrue) {
  for (const DefaultsValue& stored : {DefaultsValue(false), DefaultsValue(std::string("yes"))}) {
    item_.current = LoginItemStatus::notRegistered;
    ASSERT_TRUE(defaults_.set(kOptOut, stored));
    item_.registrations = 0;
    controller_.applyDefault();
    EXPECT_EQ(item_.registrations, 1);
    EXPECT_EQ(defaults_.value(kOptOut), stored);  // the key is the user's
  }
}

TEST_F(MacLaunchAtLoginControllerTest, onlyShowsAnyOtherStatusAtStart) {
  for (const auto status : {LoginItemStatus::enabled, LoginItemStatus::requiresApproval,
                            LoginItemStatus::notFound, LoginItemStatus::unknown}) {
    item_.current = status;
    controller_.applyDefault();
    EXPECT_EQ(item_.registrations, 0);
    EXPECT_EQ(item_.settingsOpened, 0);
    EXPECT_EQ(controller_.isEnabled.get(), status == LoginItemStatus::enabled);
  }
}

TEST_F(MacLaunchAtLoginControllerTest, remembersThatTheUserSwitchedItOff) {
  item_.current = LoginItemStatus::enabled;
  controller_.setEnabled(false);
  EXPECT_EQ(defaults_.value(kOptOut), DefaultsValue(true));
  EXPECT_EQ(item_.unregistrations, 1);
  expectShown(false, "Off");
  controller_.applyDefault();
  EXPECT_EQ(item_.registrations, 0);
}

TEST_F(MacLaunchAtLoginControllerTest, forgetsTheOptOutWhenSwitchedOn) {
  ASSERT_TRUE(defaults_.set(kOptOut, true));
  controller_.setEnabled(true);
  EXPECT_EQ(defaults_.value(kOptOut), std::nullopt);
  EXPECT_EQ(item_.registrations, 1);
  expectShown(true, "Starts after login");
}

TEST_F(MacLaunchAtLoginControllerTest, opensTheSettingsOncePerSwitchWhenApprovalIsNeeded) {
  item_.afterRegister = LoginItemStatus::requiresApproval;
  controller_.setEnabled(true);
  EXPECT_EQ(item_.settingsOpened, 1);
  expectShown(false, "Approval required");
  controller_.setEnabled(true);
  EXPECT_EQ(item_.settingsOpened, 2);
}

TEST_F(MacLaunchAtLoginControllerTest, opensTheSettingsWhenTheFirstRunNeedsApproval) {
  item_.afterRegister = LoginItemStatus::requiresApproval;
  controller_.applyDefault();
  EXPECT_EQ(item_.settingsOpened, 1);
  expectShown(false, "Approval required");
}

TEST_F(MacLaunchAtLoginControllerTest, logsARegistrationThatFails) {
  item_.registerFailure = "folder is read-only";
  controller_.setEnabled(true);
  EXPECT_THAT(sink_->errors, ElementsAre("register failed: folder is read-only"));
  expectShown(false, "Off");
}

TEST_F(MacLaunchAtLoginControllerTest, logsAnUnregistrationThatFails) {
  item_.current = LoginItemStatus::enabled;
  item_.unregisterFailure = "busy";
  controller_.setEnabled(false);
  EXPECT_THAT(sink_->errors, ElementsAre("unregister failed: busy"));
  EXPECT_EQ(defaults_.value(kOptOut), DefaultsValue(true));
  expectShown(true, "Starts after login");
}

TEST_F(MacLaunchAtLoginControllerTest, goesOnWhenTheChoiceCannotBeStored) {
  item_.current = LoginItemStatus::enabled;
  defaults_.failWith("disk full");
  controller_.setEnabled(false);
  EXPECT_EQ(item_.unregistrations, 1);
  EXPECT_THAT(sink_->errors, ElementsAre("storing the choice failed: disk full"));
}

}  // namespace
}  // namespace tevanto
