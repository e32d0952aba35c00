#include "app/Doctor.h"

#include <gtest/gtest.h>

#include <future>
#include <memory>

namespace tevanto {
namespace {

TEST(Doctor, reportsWhatAnAttemptFound) {
  const auto fine = tryCheck({"volume", [] { return Result<std::string>(std::string("at 5 %")); }},
                             std::chrono::seconds(60));
  EXPECT_TRUE(fine.ok);
  EXPECT_EQ(doctorLine(fine), "ok      volume          at 5 %");
  const auto failed = tryCheck({"pointer", [] { return Result<std::string>(Failure{"Start X."}); }},
                               std::chrono::seconds(60));
  EXPECT_FALSE(failed.ok);
  EXPECT_EQ(doctorLine(failed), "FAILED  pointer         Start X.");
}

TEST(Doctor, doesNotWaitForAnAttemptThatHangs) {
  auto never = std::make_shared<std::promise<void>>();
  const auto finding = tryCheck({"bus",
                                 [never] {
                                   never->get_future().wait();
                                   return Result<std::string>(std::string());
                                 }},
                                std::chrono::milliseconds(50));
  never->set_value();
  EXPECT_FALSE(finding.ok);
  EXPECT_NE(finding.text.find("No answer within"), std::string::npos);
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
