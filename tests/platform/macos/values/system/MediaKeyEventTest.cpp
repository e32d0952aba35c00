#include "platform/macos/values/system/MediaKeyEvent.h"

#include <gtest/gtest.h>

namespace tevanto {
namespace {

TEST(MediaKeyEvent, carriesTheKeyAndItsDirectionTwice) {
  EXPECT_EQ(mediaKeyEvent(MediaKey::play, KeyDirection::down), (MediaKeyEvent{0xA00, 0x100A00}));
  EXPECT_EQ(mediaKeyEvent(MediaKey::play, KeyDirection::up), (MediaKeyEvent{0xB00, 0x100B00}));
  EXPECT_EQ(mediaKeyEvent(MediaKey::next, KeyDirection::down), (MediaKeyEvent{0xA00, 0x110A00}));
  EXPECT_EQ(mediaKeyEvent(MediaKey::previous, KeyDirection::up), (MediaKeyEvent{0xB00, 0x120B00}));
  EXPECT_EQ(MediaKeyEvent::kSubtype, 8);
  EXPECT_EQ(MediaKeyEvent::kData2, -1);
}

}  // namespace
}  // namespace tevanto
