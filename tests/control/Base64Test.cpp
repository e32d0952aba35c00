#include "control/Base64.h"

#include <gtest/gtest.h>

#include <span>
#include <string_view>

namespace tevanto {
namespace {

std::string encoded(std::string_view text) { return base64(std::as_bytes(std::span(text))); }

TEST(Base64, encodesTheVectorsOfRfc4648) {
  EXPECT_EQ(encoded(""), "");
  EXPECT_EQ(encoded("f"), "Zg==");
  EXPECT_EQ(encoded("fo"), "Zm8=");
  EXPECT_EQ(encoded("foo"), "Zm9v");
  EXPECT_EQ(encoded("foob"), "Zm9vYg==");
  EXPECT_EQ(encoded("fooba"), "Zm9vYmE=");
  EXPECT_EQ(encoded("foobar"), "Zm9vYmFy");
}

TEST(Base64, encodesBytesBeyondAscii) {
  EXPECT_EQ(encoded(std::string_view("\xff\xfe\xfd\x00\x80", 5)), "//79AIA=");
}

}  // namespace
}  // namespace tevanto
