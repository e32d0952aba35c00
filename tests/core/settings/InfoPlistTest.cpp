#include "core/settings/InfoPlist.h"

#include <gtest/gtest.h>

#include <array>
#include <fstream>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/programs/TemporaryFolder.h"

namespace tevanto {
namespace {

using Strings = std::vector<std::string>;

std::string xml(std::string_view members) {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>" + std::string(members) +
         "</dict></plist>\n";
}

/// {"a": "xy", "l": ["xy"], "u": "é"} in the binary form: header, objects, table of their offsets, trailer.
std::string binary() {
  const std::string objects[] = {
      std::string("\xD3\x01\x02\x03\x04\x05\x06", 7),  // keys 1 to 3, values 4 to 6
      "Qa",                                            // Q: a text of one byte
      "Ql",
      "Qu",
      "\x52xy",
      std::string("\xA1\x04", 2),
      std::string("\x61\x00\xE9", 3)};
  std::string bytes = "bplist00";
  std::string offsets;
  for (const auto& object : objects) {
    offsets += static_cast<char>(bytes.size());
    bytes += object;
  }
  const auto table = static_cast<char>(bytes.size());
  bytes += offsets;
  bytes += std::string(6, '\0') + '\x01' + '\x01';                        // width of offsets and references
  bytes += std::string(7, '\0') + static_cast<char>(std::size(objects));  // how many objects
  bytes += std::string(8, '\0');                                          // the first is the root
  return bytes + std::string(7, '\0') + table;
}

Result<InfoPlist> parse(const std::string& text) {
  return InfoPlist::parse(std::as_bytes(std::span(text.data(), text.size())));
}

TEST(InfoPlist, readsStringsAndArraysOfThemFromXml) {
  const auto parsed =
      parse(xml("<key>name</key><string>Tevanto &amp; Söhne</string>"
                "<key>urls</key><array><string>turn:a</string><string/></array><key>none</key><array/>"));
  ASSERT_TRUE(parsed.ok());
  EXPECT_EQ(parsed.value().string("name"), "Tevanto & Söhne");
  EXPECT_EQ(parsed.value().strings("urls"), (Strings{"turn:a", ""}));
  EXPECT_EQ(parsed.value().strings("none"), Strings{});
  EXPECT_EQ(parsed.value().string("absent"), std::nullopt);
  EXPECT_EQ(parsed.value().strings("absent"), std::nullopt);
}

TEST(InfoPlist, readsTheBinaryForm) {
  const auto parsed = parse(binary());
  ASSERT_TRUE(parsed.ok()) << parsed.error();
  EXPECT_EQ(parsed.value().string("a"), "xy");
  EXPECT_EQ(parsed.value().strings("l"), Strings{"xy"});
  EXPECT_EQ(parsed.value().string("u"), "é");
}

TEST(InfoPlist, givesNothingForAnotherKindOfValue) {
  const auto parsed = parse(xml(
      "<key>n</key><integer>7</integer><key>f</key><true/><key>d</key><dict/><key>s</key><string>x</string>"
      "<key>mixed</key><array><string>a</string><integer>1</integer></array>"));
  ASSERT_TRUE(parsed.ok());
  for (const char* key : {"n", "f", "d", "mixed"}) {
    EXPECT_EQ(parsed.value().string(key), std::nullopt) << key;
    EXPECT_EQ(parsed.value().strings(key), std::nullopt) << key;
  }
  EXPECT_EQ(parsed.value().strings("s"), std::nullopt);
  EXPECT_EQ(parsed.value().string("s"), "x");
}

TEST(InfoPlist, doesNotEndTheProcessOverAMalformedKey) {
  auto bytes = binary();
  bytes[bytes.find("Qa") + 1] = '\0';  // a key of one zero byte
  const auto parsed = parse(bytes);
  if (parsed) {
    EXPECT_EQ(parsed.value().string("a"), std::nullopt);
  }
}

TEST(InfoPlist, refusesWhatIsNoDictionary) {
  for (const std::string text :
       {"", "x", "{}", "bplist00", "<plist><array/></plist>", "not a property list at all"})
    EXPECT_FALSE(parse(text).ok()) << text;
}

TEST(InfoPlist, takesNoHarmWhereverItEnds) {
  const auto whole = xml("<key>a</key><string>xy</string><key>l</key><array><string>xy</string></array>");
  for (const auto& text : {whole, binary()}) {
    for (std::size_t length = 0; length < text.size(); ++length) {
      const auto parsed = parse(text.substr(0, length));
      // Either refused, or what it gives was there.
      if (parsed) {
        EXPECT_EQ(parsed.value().string("a").value_or("xy"), "xy") << length;
      }
    }
  }
}

TEST(InfoPlist, takesNoHarmFromAnyOneWrongByte) {
  const auto text = binary();
  for (std::size_t at = 0; at < text.size(); ++at) {
    for (const int wrong : {0x00, 0x01, 0x7F, 0x80, 0xFF}) {
      auto changed = text;
      changed[at] = static_cast<char>(wrong);
      const auto parsed = parse(changed);
      if (parsed) (void)parsed.value().strings("l");
    }
  }
}

TEST(InfoPlist, readsUpToItsLimitAndNoFurther) {
  const auto empty = xml("<key>a</key><string></string>");
  const auto sized = [&](std::size_t size) {
    return xml("<key>a</key><string>" + std::string(size - empty.size(), 'x') + "</string>");
  };
  EXPECT_TRUE(parse(sized(InfoPlist::kMaxBytes)).ok());
  const auto refused = parse(sized(InfoPlist::kMaxBytes + 1));
  ASSERT_FALSE(refused.ok());
  EXPECT_NE(refused.error().find("64 KiB"), std::string::npos);
}

TEST(InfoPlist, isLoadedFromAFileAndSaysWhichWhenItCannotBe) {
  const test::TemporaryFolder folder;
  std::ofstream(folder / "Info.plist", std::ios::binary) << xml("<key>a</key><string>b</string>");
  const auto loaded = InfoPlist::load(folder / "Info.plist");
  ASSERT_TRUE(loaded.ok());
  EXPECT_EQ(loaded.value().string("a"), "b");

  const auto absent = InfoPlist::load(folder / "absent.plist");
  ASSERT_FALSE(absent.ok());
  EXPECT_NE(absent.error().find("absent.plist"), std::string::npos);
  std::ofstream(folder / "large.plist", std::ios::binary) << std::string(InfoPlist::kMaxBytes + 1, ' ');
  const auto large = InfoPlist::load(folder / "large.plist");
  ASSERT_FALSE(large.ok());
  EXPECT_NE(large.error().find("large.plist"), std::string::npos);
  EXPECT_FALSE(InfoPlist::load(folder.path()).ok());
}

TEST(InfoPlist, withoutAnythingGivesNothing) {
  EXPECT_EQ(InfoPlist().string("a"), std::nullopt);
  EXPECT_EQ(InfoPlist().strings("a"), std::nullopt);
}

}  // namespace
}  // namespace tevanto
