#include "platform/macos/values/network/CloudRecordFields.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <map>

namespace tevanto {
namespace {

using namespace std::chrono_literals;
using std::chrono::system_clock;
using testing::ElementsAre;
using testing::Pair;

CloudRecord exampleRecord() {
  return {.name = "tevanto-r-offer",
          .room = "r",
          .kind = "offer",
          .session = "S",
          .payload = "{}",
          .created = system_clock::time_point(1'700'000'000'250ms),
          .serverCreated = {}};
}

TEST(CloudRecordFields, holdWhatIsWritten) {
  const auto fields = fieldsOf(exampleRecord());
  EXPECT_THAT(fields.texts, ElementsAre(Pair("room", "r"), Pair("kind", "offer"), Pair("session", "S"),
                                        Pair("payload", "{}")));
  ASSERT_TRUE(fields.created);
  EXPECT_DOUBLE_EQ(*fields.created, 1'700'000'000.25);
}

TEST(CloudRecordFields, writeEmptyTextsToo) {
  const auto fields = fieldsOf(CloudRecord{.name = "n"});
  EXPECT_THAT(fields.texts,
              ElementsAre(Pair("room", ""), Pair("kind", ""), Pair("session", ""), Pair("payload", "")));
  EXPECT_FALSE(fields.created);
}

TEST(CloudRecordFields, comeBackAsTheRecord) {
  const auto written = exampleRecord();
  const auto fields = fieldsOf(written);
  const std::map<std::string, std::string> texts(fields.texts.begin(), fields.texts.end());
  const auto read = cloudRecordOf(
      written.name, [&](const char* key) -> std::optional<std::string> { return texts.at(key); },
      fields.created, 1'700'000'001.5);
  auto expected = written;
  expected.serverCreated = system_clock::time_point(1'700'000'001'500ms);
  EXPECT_EQ(read.name, expected.name);
  EXPECT_EQ(read.payload, expected.payload);
  EXPECT_EQ(read, expected);
}

TEST(CloudRecordFields, thatAreMissingStayEmpty) {
  const auto nothing = [](const char*) -> std::optional<std::string> { return std::nullopt; };
  EXPECT_EQ(cloudRecordOf("n", nothing, std::nullopt, std::nullopt), CloudRecord{.name = "n"});
}

TEST(CloudRecordFields, leaveOutDatesThatNoClockCounts) {
  const auto nothing = [](const char*) -> std::optional<std::string> { return std::nullopt; };
  for (const double date : {1e11, -1e11, std::nan(""), std::numeric_limits<double>::infinity()}) {
    const auto record = cloudRecordOf("n", nothing, date, date);
    EXPECT_FALSE(record.created) << date;
    EXPECT_FALSE(record.serverCreated) << date;
  }
}

TEST(CloudAccountStatus, hasTheFrameworksNumbers) {
  EXPECT_EQ(cloudAccountStatusOf(0), CloudAccountStatus::couldNotDetermine);
  EXPECT_EQ(cloudAccountStatusOf(1), CloudAccountStatus::available);
  EXPECT_EQ(cloudAccountStatusOf(2), CloudAccountStatus::restricted);
  EXPECT_EQ(cloudAccountStatusOf(3), CloudAccountStatus::noAccount);
  EXPECT_EQ(cloudAccountStatusOf(4), CloudAccountStatus::temporarilyUnavailable);
  EXPECT_EQ(cloudAccountStatusOf(5), CloudAccountStatus::couldNotDetermine);
  EXPECT_EQ(cloudAccountStatusOf(-1), CloudAccountStatus::couldNotDetermine);
}

CloudError errorOf(int code, std::vector<std::pair<std::string, CloudError>> partial = {}) {
  return {"CKErrorDomain", code, std::nullopt, std::move(partial)};
}

TEST(CloudErrorOfOne, isThatOfTheOnlyRecord) {
  EXPECT_EQ(errorOfOne(errorOf(2, {{"n", errorOf(11)}})), errorOf(11));
  auto limited = errorOf(2, {{"n", errorOf(7)}});
  limited.retryAfter = 3;
  EXPECT_EQ(errorOfOne(limited).code, 7);
  EXPECT_EQ(errorOfOne(limited).retryAfter, 3);
  limited.partial.front().second.retryAfter = 5;
  EXPECT_EQ(errorOfOne(limited).retryAfter, 5);
}

TEST(CloudErrorOfOne, isTheRequestsWhereThereIsNoOther) {
  for (const auto& error : {errorOf(4), errorOf(2), errorOf(2, {{"n", errorOf(11)}, {"m", errorOf(10)}})})
    EXPECT_EQ(errorOfOne(error), error) << summary(error);
}

TEST(CloudRemoval, ofWhatIsNotThereIsNoFailure) {
  EXPECT_EQ(removalError(errorOf(11)), std::nullopt);
  EXPECT_EQ(removalError(errorOf(2, {{"n", errorOf(11)}})), std::nullopt);
}

TEST(CloudRemoval, failsForAnythingElse) {
  for (const auto& error : {errorOf(4), errorOf(2), errorOf(2, {{"n", errorOf(11)}, {"m", errorOf(10)}}),
                            errorOf(22, {{"n", errorOf(11)}})})
    EXPECT_EQ(removalError(error), error) << summary(error);
}

}  // namespace
}  // namespace tevanto
