#include "core/text/Text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

namespace tevanto {
namespace {

std::vector<std::string> clusters(std::string_view utf8) {
  std::vector<std::string> found;
  forEachGraphemeCluster(utf8, [&](std::u16string_view units) { found.push_back(toUtf8(units)); });
  return found;
}

using Clusters = std::vector<std::string>;

struct ClusterCase {
  const char* name;
  std::string text;
  Clusters expected;
};

class GraphemeClusters : public ::testing::TestWithParam<ClusterCase> {};

TEST_P(GraphemeClusters, areWhatAPersonCallsCharacters) {
  EXPECT_EQ(clusters(GetParam().text), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, GraphemeClusters,
    ::testing::Values(
        ClusterCase{"empty", "", {}}, ClusterCase{"latin", "aé", {"a", "é"}},
        ClusterCase{"combiningMarks", "e\u0301\u0323x", {"e\u0301\u0323", "x"}},
        ClusterCase{"lineBreakOfTwo", "a\r\nb", {"a", "\r\n", "b"}},
        ClusterCase{"familyWithJoiners", "👨‍👩‍👧‍👦!", {"👨‍👩‍👧‍👦", "!"}},
        ClusterCase{"skinTone", "👍🏽👍", {"👍🏽", "👍"}},
        ClusterCase{"flags", "🇩🇪🇫🇷", {"🇩🇪", "🇫🇷"}},
        ClusterCase{"keycap", "1\uFE0F\u20E3 2", {"1\uFE0F\u20E3", " ", "2"}},
        ClusterCase{"hangulSyllableOfLetters", "\u1112\u1161\u11AB글", {"\u1112\u1161\u11AB", "글"}},
        ClusterCase{"zeroByte", std::string("a\0b", 3), {"a", std::string("\0", 1), "b"}},
        ClusterCase{"illFormedByte", "a\xFFz", {"a", "\uFFFD", "z"}},
        ClusterCase{"truncatedSequence", "a\xF0\x9F\x91", {"a", "\uFFFD"}},
        ClusterCase{"encodedSurrogate", "\xED\xA0\x80", {"\uFFFD", "\uFFFD", "\uFFFD"}},
        ClusterCase{"overlong", "\xC0\xAF", {"\uFFFD", "\uFFFD"}}),
    [](const auto& test) { return test.param.name; });

TEST(Text, clustersTogetherAreTheTextAtEverySplitOfABrokenOne) {
  const std::string text = "a👨‍👩‍👧é\u0301";
  for (std::size_t length = 0; length <= text.size(); ++length) {
    std::string joined;
    for (const auto& cluster : clusters(std::string_view(text).substr(0, length))) joined += cluster;
    const auto wellFormed = std::min(joined.find("\uFFFD"), joined.size());
    EXPECT_EQ(text.compare(0, wellFormed, joined, 0, wellFormed), 0) << length;
    EXPECT_GE(joined.size() + 3, length) << "nothing is lost but the broken character";
  }
}

TEST(Text, turnsUtf16IntoUtf8) {
  EXPECT_EQ(toUtf8(u"aé漢👍"), "aé漢👍");
  EXPECT_EQ(toUtf8(u""), "");
  const char16_t unpaired[] = {u'a', 0xD83D, u'b', 0xDC4D};
  EXPECT_EQ(toUtf8(std::u16string_view(unpaired, 4)), "a\uFFFDb\uFFFD");
}

TEST(Text, keepsControlCharactersFromTheTerminal) {
  EXPECT_EQ(printable("a\x1b[2Jb\x07\r\n\x7f"), "a[2Jb");
  EXPECT_EQ(printable("\u009b2Jé\u00a0"), "2Jé\u00a0");
  EXPECT_EQ(printable("x\xff"), "x\uFFFD");
}

}  // namespace
}  // namespace tevanto
