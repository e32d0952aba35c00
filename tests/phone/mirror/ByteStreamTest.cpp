#include "phone/mirror/ByteStream.h"

#include <gtest/gtest.h>

#include "tests/support/peers/ScreenBytes.h"

namespace tevanto::phone {
namespace {

using test::bytesOf;

TEST(ByteStream, putsAStartCodeWhereTheLengthWas) {
  std::vector<std::byte> stream = bytesOf({9});
  EXPECT_TRUE(appendNalUnits(stream, bytesOf({0, 0, 0, 2, 0x65, 7, 0, 0, 0, 1, 0x06})));
  EXPECT_EQ(stream, bytesOf({9, 0, 0, 0, 1, 0x65, 7, 0, 0, 0, 1, 0x06}));
}

TEST(ByteStream, takesNothingOfWhatDoesNotFit) {
  const auto data = bytesOf({0, 0, 0, 2, 0x65, 7, 0, 0, 0, 1, 0x06});
  for (std::size_t size = 0; size < data.size(); ++size) {
    if (size == 6) continue;  // the first unit alone is whole
    auto stream = bytesOf({9});
    EXPECT_FALSE(appendNalUnits(stream, std::span(data).first(size))) << size;
    EXPECT_EQ(stream, bytesOf({9})) << size;
  }
}

TEST(ByteStream, refusesEmptyUnitsAndHugeLengths) {
  std::vector<std::byte> stream;
  EXPECT_FALSE(appendNalUnits(stream, bytesOf({0, 0, 0, 0})));
  EXPECT_FALSE(appendNalUnits(stream, bytesOf({0, 0, 0, 0, 0, 0, 0, 1, 5})));
  EXPECT_FALSE(appendNalUnits(stream, bytesOf({0xFF, 0xFF, 0xFF, 0xFF, 5})));
  EXPECT_FALSE(appendNalUnits(stream, bytesOf({0xFF, 0xFF, 0xFF, 0xFC, 5})));
  EXPECT_TRUE(stream.empty());
}

}  // namespace
}  // namespace tevanto::phone
