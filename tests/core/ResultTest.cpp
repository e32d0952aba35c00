#include "core/Result.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace tevanto {
namespace {

TEST(Result, holdsAValue) {
  Result<std::string> result(std::string("value"));
  ASSERT_TRUE(result.ok());
  EXPECT_TRUE(static_cast<bool>(result));
  result.value() += "!";
  EXPECT_EQ(std::as_const(result).value(), "value!");
}

TEST(Result, holdsWhyThereIsNone) {
  const Result<std::string> result(Failure{"no disk"});
  EXPECT_FALSE(result.ok());
  EXPECT_EQ(result.error(), "no disk");
}

TEST(Result, tellsAFailureFromAValueOfTheSameText) {
  const Result<std::string> value(std::string("text"));
  const Result<std::string> failure(Failure{"text"});
  EXPECT_TRUE(value.ok());
  EXPECT_FALSE(failure.ok());
}

TEST(Result, givesAwayWhatCannotBeCopied) {
  Result<std::unique_ptr<int>> result(std::make_unique<int>(5));
  const std::unique_ptr<int> taken = std::move(result).value();
  EXPECT_EQ(*taken, 5);
}

TEST(Result, ofNothingIsSuccessOrAReason) {
  const Result<void> success;
  EXPECT_TRUE(success.ok());
  const Result<void> failure(Failure{"refused"});
  EXPECT_FALSE(failure.ok());
  EXPECT_EQ(failure.error(), "refused");
}

}  // namespace
}  // namespace tevanto
