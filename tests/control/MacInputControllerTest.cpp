#include "control/MacInputController.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "core/text/Text.h"
#include "tests/support/fakes/FakeUserPreferences.h"
#include "tests/support/fakes/FakeWorkspace.h"
#include "tests/support/fakes/RecordingInputEvents.h"

namespace tevanto {
namespace {

using test::RecordedKey;
using test::RecordedMouse;
using test::RecordedScroll;
using test::RecordedWarp;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::uint32_t kArrowFlags = 0xA00000;

RemoteCommand command(std::string type) {
  RemoteCommand made;
  made.type = std::move(type);
  return made;
}

RemoteCommand motion(std::string type, std::optional<double> dx, std::optional<double> dy) {
  auto made = command(std::move(type));
  made.dx = dx;
  made.dy = dy;
  return made;
}

RemoteCommand keyPress(std::optional<std::string> key,
                       std::optional<std::vector<RemoteModifier>> modifiers = std::nullopt) {
  auto made = command("keyPress");
  made.key = std::move(key);
  made.modifiers = std::move(modifiers);
  return made;
}

RemoteCommand gesture(std::optional<std::string> name) {
  auto made = command("systemGesture");
  made.gesture = std::move(name);
  return made;
}

RemoteCommand click(std::optional<std::string> button, std::optional<std::int64_t> clicks) {
  auto made = command("click");
  made.button = std::move(button);
  made.clicks = clicks;
  return made;
}

RemoteCommand insertText(std::optional<std::string> text) {
  auto made = command("insertText");
  made.text = std::move(text);
  return made;
}

class MacInputControllerTest : public testing::Test {
 protected:
  std::vector<RecordedKey> keysOf(const RemoteCommand& given) {
    events_.events.clear();
    controller_.handle(given);
    EXPECT_EQ(events_.events.size(), events_.only<RecordedKey>().size()) << "only keys are expected";
    return events_.only<RecordedKey>();
  }
  void expectStroke(const RemoteCommand& given, std::uint16_t code, std::uint32_t flags) {
    EXPECT_THAT(keysOf(given), ElementsAre(RecordedKey{code, KeyDirection::down, flags},
                                           RecordedKey{code, KeyDirection::up, flags}))
        << given.gesture.value_or(given.key.value_or(given.type));
  }
  std::vector<std::u16string> chunksOf(const std::string& text) {
    const auto keys = keysOf(insertText(text));
    EXPECT_EQ(keys.size() % 2, 0u);
    std::vector<std::u16string> chunks;
    for (std::size_t i = 0; i + 1 < keys.size(); i += 2) {
      EXPECT_EQ(keys[i], (RecordedKey{0, KeyDirection::down, 0, keys[i].text, events_.sourcesMade}));
      EXPECT_EQ(keys[i + 1], (RecordedKey{0, KeyDirection::up, 0, keys[i].text, events_.sourcesMade}));
      chunks.push_back(keys[i].text);
    }
    return chunks;
  }
  static PreferenceValue hotKey(std::int64_t code, std::int64_t mask) {
    PreferenceValue::Array parameters = {{std::int64_t{65535}}, {code}, {mask}};
    return {PreferenceValue::Dictionary{
        {"value", {PreferenceValue::Dictionary{{"parameters", {std::move(parameters)}}}}}}};
  }

  test::RecordingInputEvents events_;
  test::FakeUserPreferences preferences_;
  test::FakeWorkspace workspace_;
  MacInputController controller_{events_, events_, preferences_, workspace_};
};

TEST_F(MacInputControllerTest, movesThePointerByTheDelta) {
  events_.pointer = {100, 50};
  controller_.handle(motion("movePointer", 10.25, -70.5));
  const PointerLocation target{110.25, -20.5};
  EXPECT_THAT(events_.events,
              ElementsAre(RecordedWarp{target}, RecordedMouse{MouseEventType::moved, target, 0, 0}));
}

TEST_F(MacInputControllerTest, takesAMissingDeltaForZero) {
  events_.pointer = {5, 6};
  controller_.handle(motion("movePointer", std::nullopt, 4));
  controller_.handle(motion("movePointer", 3, std::nullopt));
  EXPECT_EQ(events_.pointer, (PointerLocation{8, 10}));
}

TEST_F(MacInputControllerTest, passesHugeDeltasOnAsTheyAre) {
  controller_.handle(motion("movePointer", 1e300, -1e300));
  EXPECT_EQ(events_.pointer, (PointerLocation{1e300, -1e300}));
}

TEST_F(MacInputControllerTest, dragsBetweenMouseDownAndMouseUp) {
  events_.pointer = {1, 2};
  controller_.handle(command("mouseDown"));
  controller_.handle(motion("movePointer", 10, 0));
  controller_.handle(command("mouseUp"));
  controller_.handle(motion("movePointer", 10, 0));
  EXPECT_THAT(events_.only<RecordedMouse>(),
              ElementsAre(RecordedMouse{MouseEventType::leftDown, {1, 2}, 0, 1},
                          RecordedMouse{MouseEventType::leftDragged, {11, 2}, 0, 0},
                          RecordedMouse{MouseEventType::leftUp, {11, 2}, 0, 1},
                          RecordedMouse{MouseEventType::moved, {21, 2}, 0, 0}));
}

TEST_F(MacInputControllerTest, endsTheDragEvenWhenTheButtonUpCannotBeMade) {
  controller_.handle(command("mouseDown"));
  events_.fails = [](int index) { return index == 0; };
  controller_.handle(command("mouseUp"));
  controller_.handle(motion("movePointer", 1, 0));
  EXPECT_EQ(events_.only<RecordedMouse>().back().type, MouseEventType::moved);
}

TEST_F(MacInputControllerTest, clicksOnceWithTheLeftButtonByDefault) {
  events_.pointer = {7, 8};
  controller_.handle(click(std::nullopt, std::nullopt));
  EXPECT_THAT(events_.events, ElementsAre(RecordedMouse{MouseEventType::leftDown, {7, 8}, 0, 1},
                                          RecordedMouse{MouseEventType::leftUp, {7, 8}, 0, 1}));
}

TEST_F(MacInputControllerTest, countsTheClickState) {
  controller_.handle(click("right", 3));
  std::vector<test::RecordingInputEvents::Event> expected;
  for (int state = 1; state <= 3; ++state) {
    expected.push_back(RecordedMouse{MouseEventType::rightDown, {}, 1, state});
    expected.push_back(RecordedMouse{MouseEventType::rightUp, {}, 1, state});
  }
  EXPECT_EQ(events_.events, expected);
}

TEST_F(MacInputControllerTest, clicksAtLeastOnce) {
  for (const std::int64_t count :
       {std::int64_t{0}, std::int64_t{-1}, std::numeric_limits<std::int64_t>::min()}) {
    events_.events.clear();
    controller_.handle(click("left", count));
    EXPECT_EQ(events_.events.size(), 2u) << count;
  }
}

TEST_F(MacInputControllerTest, doesNotClickForEver) {
  controller_.handle(click("left", std::numeric_limits<std::int64_t>::max()));
  EXPECT_EQ(events_.events.size(), 2u * MacInputController::kMaxClicks);
}

TEST_F(MacInputControllerTest, takesAnyOtherButtonForTheLeftOne) {
  for (const auto* button : {"middle", "Right", ""}) {
    events_.events.clear();
    controller_.handle(click(button, 1));
    EXPECT_EQ(events_.only<RecordedMouse>().front().type, MouseEventType::leftDown) << button;
  }
}

TEST_F(MacInputControllerTest, scrollsWholePixelsTowardZero) {
  controller_.handle(motion("scroll", -3.9, 12.7));
  controller_.handle(motion("scroll", std::nullopt, std::nullopt));
  controller_.handle(motion("scroll", 2147483647.5, -2147483648.5));
  EXPECT_THAT(events_.events, ElementsAre(RecordedScroll{12, -3}, RecordedScroll{0, 0},
                                          RecordedScroll{std::numeric_limits<std::int32_t>::min(),
                                                         std::numeric_limits<std::int32_t>::max()}));
}

TEST_F(MacInputControllerTest, dropsAScrollThatNoEventCanHold) {
  for (const double wild :
       {1e300, -1e300, 2147483648.0, -2147483649.0, std::numeric_limits<double>::infinity(),
        std::numeric_limits<double>::quiet_NaN()}) {
    controller_.handle(motion("scroll", wild, 1));
    controller_.handle(motion("scroll", 1, wild));
  }
  EXPECT_THAT(events_.events, IsEmpty());
}

TEST_F(MacInputControllerTest, pressesAKeyWithoutASource) {
  expectStroke(keyPress("a"), 0, 0);
  expectStroke(keyPress("returnKey"), 36, 0);
  expectStroke(keyPress("A"), 0, 0);
  expectStroke(keyPress("ab"), 0, 0);
}

TEST_F(MacInputControllerTest, setsTheFlagOfEachModifier) {
  expectStroke(keyPress("c", {{RemoteModifier::command}}), 8, 0x100000);
  expectStroke(keyPress("c", {{RemoteModifier::shift}}), 8, 0x20000);
  expectStroke(keyPress("c", {{RemoteModifier::option}}), 8, 0x80000);
  expectStroke(keyPress("c", {{RemoteModifier::control}}), 8, 0x40000);
  expectStroke(keyPress("c", {{RemoteModifier::command, RemoteModifier::shift, RemoteModifier::shift}}), 8,
               0x120000);
  expectStroke(keyPress("c", std::vector<RemoteModifier>{}), 8, 0);
}

TEST_F(MacInputControllerTest, marksArrowKeys) {
  expectStroke(keyPress("arrowUp"), 126, kArrowFlags);
  expectStroke(keyPress("arrowDown"), 125, kArrowFlags);
  expectStroke(keyPress("arrowLeft", {{RemoteModifier::shift}}), 123, kArrowFlags | 0x20000);
  expectStroke(keyPress("arrowRight"), 124, kArrowFlags);
}

TEST_F(MacInputControllerTest, marksEachFunctionKey) {
  for (const std::uint16_t code :
       {122, 120, 99, 118, 96, 97, 98, 100, 101, 109, 103, 111, 105, 107, 113, 106, 64, 79, 80, 90}) {
    preferences_.setHotKeys({{"79", hotKey(code, 0x40000)}});
    expectStroke(gesture("spaceLeft"), code, 0x800000 | 0x40000);
  }
}

TEST_F(MacInputControllerTest, ignoresKeysThatItDoesNotHave) {
  for (const auto* key : {"", "é", "!", "😀"}) EXPECT_THAT(keysOf(keyPress(key)), IsEmpty()) << key;
}

TEST_F(MacInputControllerTest, selectsAllWithCommandA) { expectStroke(command("selectAll"), 0, 0x100000); }

TEST_F(MacInputControllerTest, ignoresCommandsWithoutTheirRequiredField) {
  for (const auto& given : {keyPress(std::nullopt), gesture(std::nullopt), insertText(std::nullopt)}) {
    controller_.handle(given);
  }
  EXPECT_THAT(events_.events, IsEmpty());
}

TEST_F(MacInputControllerTest, ignoresUnknownTypes) {
  for (const auto* type : {"", "Click", "movepointer", "setVolume", "queryApps"}) {
    controller_.handle(command(type));
  }
  EXPECT_THAT(events_.events, IsEmpty());
}

TEST_F(MacInputControllerTest, typesInChunksOfTwentyUnits) {
  EXPECT_THAT(chunksOf("abcdefghijklmnopqrstuvwxy"), ElementsAre(u"abcdefghijklmnopqrst", u"uvwxy"));
  EXPECT_THAT(chunksOf("Hé"), ElementsAre(u"Hé"));
  EXPECT_THAT(chunksOf(""), IsEmpty());
}

TEST_F(MacInputControllerTest, typesEachTextFromASourceOfItsOwn) {
  EXPECT_THAT(chunksOf(std::string(25, 'a')), testing::SizeIs(2));
  EXPECT_EQ(events_.sourcesMade, 1) << "one for both chunks";
  EXPECT_THAT(chunksOf("b"), testing::SizeIs(1));
  EXPECT_EQ(events_.sourcesMade, 2);
}

TEST_F(MacInputControllerTest, typesWithoutASourceWhenNoneCanBeMade) {
  events_.makesSources = false;
  EXPECT_THAT(chunksOf("b"), testing::SizeIs(1));
}

TEST_F(MacInputControllerTest, neverSplitsACharacter) {
  const auto repeated = [](std::u16string_view unit, int count) {
    std::u16string text;
    for (int i = 0; i < count; ++i) text += unit;
    return text;
  };
  EXPECT_THAT(chunksOf(toUtf8(repeated(u"😀", 10))), ElementsAre(repeated(u"😀", 10)));
  EXPECT_THAT(chunksOf(toUtf8(repeated(u"😀", 11))), ElementsAre(repeated(u"😀", 10), u"😀"));
  // 19 letters, then a letter with its accent: two units that belong together.
  EXPECT_THAT(chunksOf(toUtf8(repeated(u"a", 19) + u"e\u0301")), ElementsAre(repeated(u"a", 19), u"e\u0301"));
  // A family of four is 11 units; two of them do not fit.
  const std::u16string family = u"👨\u200D👩\u200D👧\u200D👦";
  EXPECT_THAT(chunksOf(toUtf8(family + family)), ElementsAre(family, family));
}

TEST_F(MacInputControllerTest, sendsACharacterOfMoreThanTwentyUnitsAlone) {
  std::u16string tower = u"e";
  for (int i = 0; i < 25; ++i) tower += u'\u0301';
  EXPECT_THAT(chunksOf(toUtf8(u"a" + tower + u"b")), ElementsAre(u"a", tower, u"b"));
}

TEST_F(MacInputControllerTest, goesOnWhenAnEventCannotBeMade) {
  events_.fails = [](int index) { return index == 0; };
  controller_.handle(keyPress("a"));
  EXPECT_THAT(events_.events, ElementsAre(RecordedKey{0, KeyDirection::up, 0}));
}

TEST_F(MacInputControllerTest, opensTheApplicationOfAGesture) {
  workspace_.existing = {"/System/Applications/Mission Control.app", "/System/Applications/Launchpad.app"};
  controller_.handle(gesture("missionControl"));
  controller_.handle(gesture("launchpad"));
  using Opened = test::FakeWorkspace::Opened;
  EXPECT_THAT(
      workspace_.opened,
      ElementsAre(Opened{"/System/Applications/Mission Control.app", Workspace::Activation::systemDefault},
                  Opened{"/System/Applications/Launchpad.app", Workspace::Activation::systemDefault}));
  EXPECT_THAT(events_.events, IsEmpty());
}

TEST_F(MacInputControllerTest, doesNotOpenWhatIsMissing) {
  controller_.handle(gesture("missionControl"));
  controller_.handle(gesture("launchpad"));
  EXPECT_THAT(workspace_.opened, IsEmpty());
}

TEST_F(MacInputControllerTest, fallsBackToTheStandardShortcuts) {
  expectStroke(gesture("appWindows"), 125, 0x40000 | kArrowFlags);
  expectStroke(gesture("spaceLeft"), 123, 0x40000 | kArrowFlags);
  expectStroke(gesture("spaceRight"), 124, 0x40000 | kArrowFlags);
  expectStroke(gesture("showDesktop"), 103, 0x800000);
}

TEST_F(MacInputControllerTest, usesTheShortcutsThatTheUserHasSet) {
  preferences_.setHotKeys({{"34", hotKey(1, 0x20000)},
                           {"79", hotKey(2, 0x40000)},
                           {"81", hotKey(122, 0x80000)},
                           {"36", hotKey(126, 0x100000)}});
  expectStroke(gesture("appWindows"), 1, 0x20000);
  expectStroke(gesture("spaceLeft"), 2, 0x40000);
  expectStroke(gesture("spaceRight"), 122, 0x80000 | 0x800000);
  expectStroke(gesture("showDesktop"), 126, 0x100000 | kArrowFlags);
}

TEST_F(MacInputControllerTest, leavesADisabledShortcutOff) {
  preferences_.setHotKeys({{"79", {PreferenceValue::Dictionary{{"enabled", {false}}}}}});
  EXPECT_THAT(keysOf(gesture("spaceLeft")), IsEmpty());
}

TEST_F(MacInputControllerTest, fallsBackWhenTheShortcutHasNoKey) {
  preferences_.setHotKeys({{"79", hotKey(65535, 0)}});
  expectStroke(gesture("spaceLeft"), 123, 0x40000 | kArrowFlags);
}

TEST_F(MacInputControllerTest, ignoresUnknownGestures) {
  for (const auto* name : {"", "spaceleft", "zoom"}) EXPECT_THAT(keysOf(gesture(name)), IsEmpty()) << name;
  EXPECT_EQ(preferences_.reads, 0);
}

TEST_F(MacInputControllerTest, sendsThePointersEventsPastTheOneThatTakesTheKeys) {
  test::RecordingInputEvents pointer;
  test::RecordingInputEvents keys;
  pointer.pointer = {10, 20};
  MacInputController controller(pointer, keys, preferences_, workspace_);
  controller.handle(motion("movePointer", 1, 2));
  controller.handle(click("left", 1));
  controller.handle(command("mouseDown"));
  controller.handle(command("mouseUp"));
  controller.handle(motion("scroll", 3, 4));
  EXPECT_TRUE(keys.events.empty());
  EXPECT_EQ(pointer.events.size(), 7u);
  EXPECT_EQ(pointer.pointer, (PointerLocation{11, 22}));

  pointer.events.clear();
  controller.handle(keyPress("a"));
  controller.handle(command("selectAll"));
  controller.handle(insertText("b"));
  controller.handle(gesture("spaceLeft"));
  EXPECT_TRUE(pointer.events.empty());
  EXPECT_EQ(pointer.sourcesMade, 0);
  EXPECT_EQ(keys.only<RecordedKey>().size(), 8u);
  EXPECT_EQ(keys.sourcesMade, 1);
}

}  // namespace
}  // namespace tevanto
