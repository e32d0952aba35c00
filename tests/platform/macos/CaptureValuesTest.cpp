#include "platform/macos/CaptureValues.h"

#include <gtest/gtest.h>

namespace tevanto {
namespace {

TEST(FourCharCode, hasItsFirstLetterInTheHighestByte) {
  EXPECT_EQ(fourCharCode("BGRA"), 0x42475241U);
  EXPECT_EQ(fourCharCode("\xFF\x01 z"), 0xFF01207AU);
  EXPECT_EQ(kCapturePixelFormat, 1111970369U);
  EXPECT_EQ(fourCharCode("avc1"), static_cast<std::uint32_t>(0x61766331));
}

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
