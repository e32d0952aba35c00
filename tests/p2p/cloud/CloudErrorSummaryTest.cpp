#include <gtest/gtest.h>

#include "p2p/cloud/CloudDatabase.h"

namespace tevanto {
namespace {

TEST(CloudErrorSummary, namesDomainAndCodeAndWhatElseIsKnown) {
  EXPECT_EQ(summary({"CKErrorDomain", 11, {}, {}}), "CKErrorDomain 11");
  EXPECT_EQ(summary({"CKErrorDomain", 7, 30.0, {}}), "CKErrorDomain 7 retryAfter=30");
  EXPECT_EQ(summary({"CKErrorDomain", 6, 0.25, {}}), "CKErrorDomain 6 retryAfter=0.25");
  EXPECT_EQ(summary({"CKErrorDomain",
                     2,
                     {},
                     {{"a", {"CKErrorDomain", 14, {}, {}}}, {"b", {"CKErrorDomain", 7, 3.0, {}}}}}),
            "CKErrorDomain 2 partial=[a: CKErrorDomain 14, b: CKErrorDomain 7 retryAfter=3]");
}

}  // namespace
}  // namespace tevanto
