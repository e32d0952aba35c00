#include "app/doctor/Doctor.h"

#include <gtest/gtest.h>

#include <future>
#include <memory>

namespace tevanto {
namespace {

using Attempt = Result<std::string>;

std::vector<DoctorFinding> findings(const std::vector<DoctorCheck>& checks,
                                    std::chrono::milliseconds timeout) {
  std::vector<DoctorFinding> all;
  tryChecks(checks, timeout, [&](DoctorFinding finding) { all.push_back(std::move(finding)); });
  return all;
}

TEST(Doctor, reportsWhatTheAttemptsFoundInTheirOrder) {
  const auto found = findings({{"volume", [] { return Attempt(std::string("at 5 %")); }},
                               {"pointer", [] { return Attempt(Failure{"Start X."}); }}},
                              std::chrono::seconds(60));
  ASSERT_EQ(found.size(), 2U);
  EXPECT_TRUE(found[0].ok);
  EXPECT_EQ(doctorLine(found[0]), "ok      volume          at 5 %");
  EXPECT_FALSE(found[1].ok);
  EXPECT_EQ(doctorLine(found[1]), "FAILED  pointer         Start X.");
}

TEST(Doctor, doesNotWaitForAnAttemptThatHangs) {
  auto never = std::make_shared<std::promise<void>>();
  const auto found = findings({{"bus",
                                [never] {
                                  never->get_future().wait();
                                  return Attempt(std::string());
                                }}},
                              std::chrono::milliseconds(50));
  never->set_value();
  ASSERT_EQ(found.size(), 1U);
  EXPECT_FALSE(found[0].ok);
  EXPECT_NE(found[0].text.find("No answer within"), std::string::npos);
}

TEST(Doctor, triesAllAtOnce) {
  auto second = std::make_shared<std::promise<void>>();
  const auto found = findings({{"first",
                                [second] {
                                  second->get_future().wait();
                                  return Attempt(std::string("met the second"));
                                }},
                               {"second",
                                [second] {
                                  second->set_value();
                                  return Attempt(std::string());
                                }}},
                              std::chrono::seconds(60));
  ASSERT_EQ(found.size(), 2U);
  EXPECT_TRUE(found[0].ok && found[1].ok);
}

TEST(Doctor, keepsWhatServersSayFromTheTerminal) {
  EXPECT_EQ(doctorLine({"relay", false, "it said \x1b[2J"}), "FAILED  relay           it said [2J");
}

TEST(Doctor, isOnlyContentWhenEverythingIsFine) {
  const DoctorFinding fine{"a", true, "x"};
  const DoctorFinding failed{"b", false, "say \"y\""};
  EXPECT_TRUE(allOk({fine}));
  EXPECT_FALSE(allOk({fine, failed}));
  EXPECT_EQ(
      doctorJson({fine, failed}),
      R"({"ok":false,"checks":[{"name":"a","ok":true,"text":"x"},{"name":"b","ok":false,"text":"say \"y\""}]})");
}

}  // namespace
}  // namespace tevanto
