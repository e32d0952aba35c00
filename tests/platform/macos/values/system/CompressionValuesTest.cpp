#include "platform/macos/values/system/CompressionValues.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/video/EncodedStream.h"

namespace tevanto {
namespace {

const CompressionValue* valueOf(const std::vector<CompressionValue>& values, std::size_t index) {
  return index < values.size() ? &values[index] : nullptr;
}

TEST(CompressionValues, areThoseOfAStreamInItsOrder) {
  std::vector<CompressionValue> values;
  for (const auto& [property, value] : test::streamProperties(6'000'000, 15)) {
    const auto made = compressionValue(property, value);
    ASSERT_TRUE(made) << made.error();
    values.push_back(made.value());
  }
  const std::vector<CompressionValue> expected{true,
                                               EncoderProfileLevel::h264MainAutoLevel,
                                               false,
                                               std::int64_t{60},
                                               std::int64_t{4},
                                               std::int64_t{6'000'000},
                                               std::array<std::int64_t, 2>{1'125'000, 1},
                                               std::int64_t{15}};
  ASSERT_EQ(values.size(), expected.size());
  for (std::size_t i = 0; i < expected.size(); ++i) EXPECT_EQ(*valueOf(values, i), expected[i]) << i;
}

TEST(CompressionValues, failForAValueOfAnotherType) {
  const EncoderPropertyValue number = std::int64_t{1};
  const EncoderPropertyValue flag = true;
  for (const auto property : {EncoderProperty::realTime, EncoderProperty::profileLevel,
                              EncoderProperty::allowFrameReordering, EncoderProperty::dataRateLimits})
    EXPECT_FALSE(compressionValue(property, number)) << static_cast<int>(property);
  for (const auto property :
       {EncoderProperty::maxKeyFrameInterval, EncoderProperty::maxKeyFrameIntervalDuration,
        EncoderProperty::averageBitRate, EncoderProperty::expectedFrameRate})
    EXPECT_FALSE(compressionValue(property, flag)) << static_cast<int>(property);
  EXPECT_FALSE(compressionValue(static_cast<EncoderProperty>(99), flag));
}

TEST(ParameterSets, areTheFirstTwoOfTheList) {
  const std::vector<std::string> list{"sps", "pps", "another"};
  const auto at = [&](std::size_t index) -> std::optional<std::span<const std::byte>> {
    return std::as_bytes(std::span(list.at(index)));
  };
  const auto sets = parameterSetsOf(at);
  ASSERT_TRUE(sets.sps && sets.pps);
  EXPECT_EQ(static_cast<const void*>(sets.sps->data()), list[0].data());
  EXPECT_EQ(static_cast<const void*>(sets.pps->data()), list[1].data());
}

TEST(ParameterSets, mayBeMissingOneByOne) {
  const std::string unit = "unit";
  for (const std::size_t missing : {0U, 1U}) {
    const auto sets = parameterSetsOf([&](std::size_t index) -> std::optional<std::span<const std::byte>> {
      if (index == missing) return std::nullopt;
      return std::as_bytes(std::span(unit.data(), unit.size()));
    });
    EXPECT_EQ(sets.sps.has_value(), missing != 0);
    EXPECT_EQ(sets.pps.has_value(), missing != 1);
  }
}

}  // namespace
}  // namespace tevanto
