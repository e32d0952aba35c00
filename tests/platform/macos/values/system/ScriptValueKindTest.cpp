#include "platform/macos/values/system/ScriptValueKind.h"

#include <gtest/gtest.h>

#include "platform/macos/values/system/FourCharacterCode.h"

namespace tevanto {
namespace {

TEST(FourCharacterCode, hasItsFirstCharacterInTheHighestByte) {
  EXPECT_EQ(fourCharacterCode("long"), 0x6C6F6E67u);
  EXPECT_EQ(fourCharacterCode("BGRA"), 0x42475241u);
  EXPECT_EQ(fourCharacterCode("avc1"), 0x61766331u);
  EXPECT_EQ(fourCharacterCode("\xFF"
                              "bc\x01"),
            0xFF626301u);
}

TEST(ScriptValueKind, tellsBooleansFromNumbersFromTheRest) {
  for (const auto code : {fourCharacterCode("bool"), fourCharacterCode("true"), fourCharacterCode("fals")})
    EXPECT_EQ(scriptValueKind(code), ScriptValueKind::boolean) << code;
  for (const auto code : {fourCharacterCode("long"), fourCharacterCode("shor"), fourCharacterCode("comp"),
                          fourCharacterCode("magn"), fourCharacterCode("sing"), fourCharacterCode("doub")})
    EXPECT_EQ(scriptValueKind(code), ScriptValueKind::number) << code;
  for (const auto code :
       {fourCharacterCode("type"), fourCharacterCode("utxt"), fourCharacterCode("null"), 0u})
    EXPECT_EQ(scriptValueKind(code), ScriptValueKind::none) << code;
}

}  // namespace
}  // namespace tevanto
