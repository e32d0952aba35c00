#include "p2p/cloud/CloudKitAnswers.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace tevanto {
namespace {

using std::chrono::milliseconds;
using std::chrono::system_clock;

const CloudRecord kRecord{"tevanto-r-offer",
                          "r",
                          "offer",
                          "s",
                          R"({"type":"offer"})",
                          system_clock::time_point(milliseconds(1'700'000'000'123)),
                          {}};

HttpResponse answer(std::string body, int status = 200) { return {status, {}, std::move(body)}; }

HttpResponse entry(const std::string& members) {
  return answer(R"({"records":[{"recordName":"other"},{"recordName":"n")" + members + "}]}");
}

TEST(CloudKitBodies, areThoseOfTheService) {
  EXPECT_EQ(cloudLookupBody("n\""), R"({"records":[{"recordName":"n\""}]})");
  EXPECT_EQ(cloudRemoveBody("n"),
            R"({"operations":[{"operationType":"forceDelete","record":{"recordName":"n"}}]})");
  EXPECT_EQ(cloudSaveBody(kRecord),
            R"({"operations":[{"operationType":"forceReplace","record":{"recordName":"tevanto-r-offer",)"
            R"("recordType":"TevantoSignal","fields":{"room":{"value":"r","type":"STRING"},)"
            R"("kind":{"value":"offer","type":"STRING"},"session":{"value":"s","type":"STRING"},)"
            R"("payload":{"value":"{\"type\":\"offer\"}","type":"STRING"},)"
            R"("created":{"value":1700000000123,"type":"TIMESTAMP"}}}}]})");
  EXPECT_EQ(cloudSaveBody({.name = "\xFF", .payload = "\xC3"}).find('\xFF'), std::string::npos);
  EXPECT_EQ(cloudSaveBody({.name = "n"}).find("TIMESTAMP"), std::string::npos);
}

TEST(CloudKitLookup, readsTheRecordThatWasAskedFor) {
  const auto outcome = readLookupAnswer(
      entry(
          R"(,"recordType":"TevantoSignal","fields":{"room":{"value":"r","type":"STRING"},"kind":{"value":"offer"},)"
          R"("session":{"value":"s"},"payload":{"value":"p"},"created":{"value":1700000000123,"type":"TIMESTAMP"}},)"
          R"("created":{"timestamp":1700000001000,"userRecordName":"_1"})"),
      "n");
  EXPECT_EQ(outcome.value, (CloudRecord{"n", "r", "offer", "s", "p",
                                        system_clock::time_point(milliseconds(1'700'000'000'123)),
                                        system_clock::time_point(milliseconds(1'700'000'001'000))}));
}

TEST(CloudKitLookup, leavesEmptyWhatIsMissingOrOfAnotherType) {
  const CloudRecord empty{.name = "n"};
  for (const std::string members :
       {"", R"(,"fields":null)", R"(,"fields":[])", R"(,"fields":{})",
        R"(,"fields":{"room":"r","payload":{}})",
        R"(,"fields":{"room":{"value":1},"payload":{"value":null},"created":{"value":"now"}})",
        R"(,"fields":{"created":{"value":1e300}},"created":{"timestamp":-1e18})", R"(,"created":5)"}) {
    EXPECT_EQ(readLookupAnswer(entry(members), "n").value, empty) << members;
  }
}

struct NamedError {
  const char* name;
  int status;
  int code;
};

// The names and the statuses are the service's, the codes those of the CKError enumeration.
constexpr NamedError kErrors[] = {{"ACCESS_DENIED", 403, 10},
                                  {"ATOMIC_ERROR", 400, 22},
                                  {"AUTHENTICATION_FAILED", 401, 9},
                                  {"AUTHENTICATION_REQUIRED", 421, 9},
                                  {"BAD_REQUEST", 400, 12},
                                  {"CONFLICT", 409, 14},
                                  {"EXISTS", 409, 14},
                                  {"INTERNAL_ERROR", 500, 15},
                                  {"NOT_FOUND", 404, 11},
                                  {"QUOTA_EXCEEDED", 413, 25},
                                  {"THROTTLED", 429, 7},
                                  {"TRY_AGAIN_LATER", 503, 6},
                                  {"VALIDATING_REFERENCE_ERROR", 412, 31},
                                  {"ZONE_NOT_FOUND", 404, 26},
                                  {"SOMETHING_NEW", 400, 15}};

TEST(CloudKitErrors, haveTheNumbersOfTheFramework) {
  for (const auto& error : kErrors) {
    const auto members = R"("serverErrorCode":")" + std::string(error.name) + R"(","reason":"x")";
    const auto whole = answer(R"({"uuid":"u",)" + members + "}", error.status);
    const CloudError expected{"CKErrorDomain", error.code, {}, {}};
    EXPECT_EQ(readLookupAnswer(whole, "n").error, expected) << error.name;
    EXPECT_EQ(readSaveAnswer(whole, "n"), expected) << error.name;
    EXPECT_EQ(readRemoveAnswer(whole, "n"), expected) << error.name;

    const auto ofTheRecord = entry("," + members);
    EXPECT_EQ(readLookupAnswer(ofTheRecord, "n").error, expected) << error.name;
    EXPECT_EQ(readSaveAnswer(ofTheRecord, "n"), (CloudError{"CKErrorDomain", 2, {}, {{"n", expected}}}))
        << error.name;
    const auto removed = readRemoveAnswer(ofTheRecord, "n");
    EXPECT_EQ(removed.has_value(), error.code != CloudError::kUnknownItem) << error.name;
  }
}

TEST(CloudKitErrors, goByTheStatusWhereTheTextIsNotTheServices) {
  for (const auto& [status, code] :
       {std::pair(401, 9), std::pair(421, 9), std::pair(403, 10), std::pair(404, 15), std::pair(400, 15),
        std::pair(429, 7), std::pair(500, 15), std::pair(502, 15), std::pair(503, 6), std::pair(204, 15),
        std::pair(302, 15)}) {
    for (const char* text : {"", "<html></html>", "[]", "{}"}) {
      EXPECT_EQ(readLookupAnswer(answer(text, status), "n").error.code, code) << status << text;
    }
  }
}

TEST(CloudKitErrors, sayWhenToTryAgain) {
  const auto retryAfter = [](const HttpResponse& response) {
    return readLookupAnswer(response, "n").error.retryAfter;
  };
  EXPECT_EQ(retryAfter(answer(R"({"serverErrorCode":"THROTTLED","retryAfter":2.5})", 429)), 2.5);
  EXPECT_EQ(retryAfter(entry(R"(,"serverErrorCode":"THROTTLED","retryAfter":30)")), 30);
  EXPECT_EQ(retryAfter(answer(R"({"serverErrorCode":"THROTTLED","retryAfter":-1})", 429)), std::nullopt);
  EXPECT_EQ(retryAfter(answer(R"({"serverErrorCode":"THROTTLED","retryAfter":"3"})", 429)), std::nullopt);
  EXPECT_EQ(retryAfter({503, {{"retry-after", "120"}}, "busy"}), 120);
  EXPECT_EQ(retryAfter({503, {{"Retry-After", "Fri, 31 Dec 1999 23:59:59 GMT"}}, "busy"}), std::nullopt);
  EXPECT_EQ(retryAfter({429, {{"Retry-After", "9"}}, R"({"serverErrorCode":"THROTTLED","retryAfter":3})"}),
            3);
}

TEST(CloudKitAnswers, withoutTheRecordAreRejections) {
  for (const char* text :
       {"", "{", "[]", "null", "{}", R"({"records":{}})", R"({"records":[]})", R"({"records":[1,"n",null]})",
        R"({"records":[{"recordName":"m"}]})", R"({"records":[{"recordName":1}]})"}) {
    EXPECT_FALSE(readLookupAnswer(answer(text), "n").value) << text;
    EXPECT_EQ(readLookupAnswer(answer(text), "n").error.code, 15) << text;
    ASSERT_TRUE(readSaveAnswer(answer(text), "n")) << text;
    EXPECT_EQ(readRemoveAnswer(answer(text), "n")->code, 15) << text;
  }
}

TEST(CloudKitAnswers, ofWritesAreNothingWhenAllIsWell) {
  EXPECT_FALSE(readSaveAnswer(entry(R"(,"fields":{})"), "n"));
  EXPECT_FALSE(readRemoveAnswer(entry(R"(,"deleted":true)"), "n"));
}

TEST(CloudKitAccount, isAvailableWhenTheServiceKnowsTheCaller) {
  EXPECT_EQ(readAccountAnswer(answer(R"({"userRecordName":"_1"})")), CloudAccountStatus::available);
  for (const char* text : {"", "{}", R"({"userRecordName":""})", R"({"userRecordName":1})", "<html></html>"})
    EXPECT_EQ(readAccountAnswer(answer(text)), CloudAccountStatus::couldNotDetermine) << text;
}

TEST(CloudKitAccount, saysWhyItIsNotAvailable) {
  const auto status = [](int number) { return readAccountAnswer(answer("", number)); };
  EXPECT_EQ(status(401), CloudAccountStatus::noAccount);
  EXPECT_EQ(status(421), CloudAccountStatus::noAccount);
  EXPECT_EQ(status(403), CloudAccountStatus::restricted);
  EXPECT_EQ(status(429), CloudAccountStatus::temporarilyUnavailable);
  EXPECT_EQ(status(503), CloudAccountStatus::temporarilyUnavailable);
  EXPECT_EQ(status(500), CloudAccountStatus::couldNotDetermine);
  EXPECT_EQ(readAccountAnswer(answer(R"({"serverErrorCode":"AUTHENTICATION_FAILED"})", 401)),
            CloudAccountStatus::noAccount);
}

}  // namespace
}  // namespace tevanto
