#include "phone/terminal/TerminalEvents.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tevanto::phone {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Key = TerminalKey::Kind;
using Mouse = TerminalMouse::Kind;

std::vector<TerminalEvent> parse(std::string_view bytes) { return TerminalEvents().feed(bytes); }

TEST(TerminalEvents, readsKeys) {
  const std::pair<std::string_view, TerminalKey> rows[] = {{"q", {Key::character, 'q'}},
                                                           {" ", {Key::character, ' '}},
                                                           {"\x03", {Key::character, 3}},
                                                           {"\r", {Key::enter}},
                                                           {"\n", {Key::enter}},
                                                           {"\x1b[A", {Key::up}},
                                                           {"\x1b[B", {Key::down}},
                                                           {"\x1b[C", {Key::right}},
                                                           {"\x1b[D", {Key::left}},
                                                           {"\x1bOA", {Key::up}},
                                                           {"\x1bOD", {Key::left}},
                                                           {"\x1b[1;2A", {Key::up, 0, true}},
                                                           {"\x1b[1;2C", {Key::right, 0, true}},
                                                           {"\x1b[1;5A", {Key::up}},
                                                           {"\x1bq", {Key::character, 'q'}}};
  for (const auto& [bytes, key] : rows) EXPECT_THAT(parse(bytes), ElementsAre(TerminalEvent(key))) << bytes;
}

TEST(TerminalEvents, readsMouseReports) {
  const std::pair<std::string_view, TerminalMouse> rows[] = {
      {"\x1b[<0;3;4M", {Mouse::press, 0, 3, 4}},           {"\x1b[<0;3;4m", {Mouse::release, 0, 3, 4}},
      {"\x1b[<2;3;4M", {Mouse::press, 2, 3, 4}},           {"\x1b[<2;3;4m", {Mouse::release, 2, 3, 4}},
      {"\x1b[<35;300;400M", {Mouse::motion, 3, 300, 400}}, {"\x1b[<32;1;1M", {Mouse::motion, 0, 1, 1}},
      {"\x1b[<64;1;1M", {Mouse::wheelUp, 0, 1, 1}},        {"\x1b[<65;1;1M", {Mouse::wheelDown, 1, 1, 1}},
      {"\x1b[<66;1;1M", {Mouse::wheelLeft, 2, 1, 1}},      {"\x1b[<67;1;1M", {Mouse::wheelRight, 3, 1, 1}}};
  for (const auto& [bytes, mouse] : rows)
    EXPECT_THAT(parse(bytes), ElementsAre(TerminalEvent(mouse))) << bytes;
}

TEST(TerminalEvents, skipsWhatItDoesNotKnow) {
  for (const auto* bytes : {"\x1b[3~", "\x1b[Z", "\x1bOP", "\x1b[<0;3M", "\x1b[<;;M", "\x1b[<0;3;4;5M",
                            "\x1b", "\x1b[<99999999999;1;1M", "\x1b[I"}) {
    EXPECT_THAT(parse(bytes), IsEmpty()) << bytes + 1;
  }
  EXPECT_THAT(parse("\x1b[3~q"), ElementsAre(TerminalEvent(TerminalKey{Key::character, 'q'})));
}

TEST(TerminalEvents, readsTheSameAtEachSplitPoint) {
  const std::string input = "a\x1b[A\x1b[1;2B\x1bOC\x1b[<35;10;20M\x1b[3~\rz";
  const auto whole = parse(input);
  ASSERT_EQ(whole.size(), 7u);
  for (std::size_t split = 0; split <= input.size(); ++split) {
    TerminalEvents parser;
    auto events = parser.feed(input.substr(0, split));
    const auto rest = parser.feed(input.substr(split));
    events.insert(events.end(), rest.begin(), rest.end());
    EXPECT_EQ(events, whole) << split;
  }
}

TEST(TerminalEvents, forgetsASequenceThatNeverEnds) {
  TerminalEvents parser;
  EXPECT_THAT(parser.feed("\x1b[" + std::string(1000, '1')), IsEmpty());
  EXPECT_THAT(parser.feed("q"), ElementsAre(TerminalEvent(TerminalKey{Key::character, 'q'})));
}

}  // namespace
}  // namespace tevanto::phone
