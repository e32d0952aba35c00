#include "core/text/Base64.h"

#include <gtest/gtest.h>

#include <span>
#include <string_view>

namespace tevanto {
namespace {

std::string encoded(std::string_view text) {
  return base64(std::as_bytes(std::span(text.data(), text.size())));
}

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

TEST(Base64, readsBackWhatItWrites) {
  std::string text;
  for (int length = 0; length < 300; ++length) {
    const auto bytes = std::as_bytes(std::span(text.data(), text.size()));
    EXPECT_EQ(fromBase64(base64(bytes)), std::vector<std::byte>(bytes.begin(), bytes.end())) << length;
    text.push_back(static_cast<char>(length * 7));
  }
}

TEST(Base64, refusesWhatIsNoBase64) {
  for (const auto* text : {"A", "AB", "ABC", "A===", "====", "Zg=", "Zm9v\n", "Zm9*", "Zg==Zg=="}) {
    EXPECT_EQ(fromBase64(text), std::nullopt) << text;
  }
}

}  // namespace
}  // namespace tevanto
