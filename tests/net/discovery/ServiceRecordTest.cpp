#include "net/discovery/ServiceRecord.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <string_view>

namespace tevanto {
namespace {

TEST(ServiceName, keepsWhatFits) {
  EXPECT_EQ(serviceNameFrom("Study"), "Study");
  EXPECT_EQ(serviceNameFrom(std::string(63, 'x')), std::string(63, 'x'));
  EXPECT_EQ(serviceNameFrom(""), "");
}

TEST(ServiceName, isCutBetweenCodePoints) {
  EXPECT_EQ(serviceNameFrom(std::string(64, 'x')), std::string(63, 'x'));
  for (std::size_t ascii = 58; ascii <= 64; ++ascii) {
    const auto name = serviceNameFrom(std::string(ascii, 'x') + "🖥");
    EXPECT_EQ(name, ascii <= 59 ? std::string(ascii, 'x') + "🖥"
                                : std::string(std::min<std::size_t>(ascii, 63), 'x'));
  }
}

TEST(ServiceName, isValidUtf8) {
  EXPECT_EQ(serviceNameFrom("a\xFFz"), "a\uFFFDz");
  EXPECT_EQ(serviceNameFrom(std::string_view("a\0z", 3)), "az");
}

std::string wire(const std::vector<std::pair<std::string, std::string>>& entries) {
  const auto bytes = textRecordOf(entries);
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

TEST(ServiceTextRecord, isOneLengthAndOneEntryAfterAnotherInTheirOrder) {
  EXPECT_EQ(wire({{"id", "D1"}, {"kind", "mac"}}), "\x05id=D1\x08kind=mac");
  EXPECT_EQ(wire({{"kind", ""}}), "\x05kind=");
  EXPECT_EQ(wire({{"a", "x=y"}}),
            "\x05"
            "a=x=y");
}

TEST(ServiceTextRecord, ofNothingIsOneEmptyEntry) { EXPECT_EQ(wire({}), std::string(1, '\0')); }

TEST(ServiceTextRecord, holdsEntriesOfUpTo255Bytes) {
  const std::string longest(252, 'v');
  EXPECT_EQ(wire({{"id", longest}}), "\xFFid=" + longest);
}

TEST(ServiceTextRecord, leavesOutWhatTheFormatCannotHold) {
  EXPECT_EQ(wire({{"id", std::string(253, 'v')}, {"kind", "mac"}}), "\x08kind=mac");
  EXPECT_EQ(wire({{"", "nameless"}, {"i=d", "x"}, {"kind", "mac"}}), "\x08kind=mac");
}

}  // namespace
}  // namespace tevanto
