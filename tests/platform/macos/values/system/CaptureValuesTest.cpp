#include "platform/macos/values/system/CaptureValues.h"

#include <gtest/gtest.h>

namespace tevanto {
namespace {

TEST(CapturePixelFormat, isBgraAsTheSystemNumbersIt) { EXPECT_EQ(kCapturePixelFormat, 1111970369U); }

TEST(FrameStatus, namesTheFourOfAPicture) {
  EXPECT_EQ(sampleStatusOf(0), SampleStatus::complete);
  EXPECT_EQ(sampleStatusOf(1), SampleStatus::idle);
  EXPECT_EQ(sampleStatusOf(2), SampleStatus::blank);
  EXPECT_EQ(sampleStatusOf(3), SampleStatus::suspended);
}

TEST(FrameStatus, isNoneForTheStreamsOwnAndForWhatIsNotThere) {
  for (const std::optional<std::int64_t> status : {std::optional<std::int64_t>(), {4}, {5}, {6}, {-1}})
    EXPECT_EQ(sampleStatusOf(status), std::nullopt);
}

}  // namespace
}  // namespace tevanto
