#include "platform/linux/x11/input/XTestInputEvents.h"

#include <gmock/gmock.h>

#include <array>
#include <cmath>
#include <limits>

#include "platform/linux/input/VirtualKeyCodes.h"
#include "tests/platform/linux/x11/input/InputOnXvfb.h"

namespace tevanto {
namespace {

using test::InputOnXvfb;
using test::XEvent;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using Kind = XEvent::Kind;

constexpr int kControlKey = 37;
constexpr int kShiftKey = 50;
constexpr int kAltKey = 64;
constexpr int kSuperKey = 133;

class XTestPointerTest : public InputOnXvfb {};

TEST_F(XTestPointerTest, tenMovesOfFourTenthsMakeFourPixels) {
  client->placePointer(200, 200);
  for (int i = 0; i < 10; ++i) moveBy(0.4, 0.4);
  EXPECT_EQ(pointer(), std::pair(204, 204));
}

TEST_F(XTestPointerTest, keepsTheFractionOverTheTimeAfterWhichTheServerIsAskedAgain) {
  client->placePointer(200, 200);
  for (int i = 0; i < 10; ++i) {
    queue->advance(std::chrono::seconds(1));
    moveBy(0.4, -0.4);
  }
  EXPECT_EQ(pointer(), std::pair(204, 196));
}

TEST_F(XTestPointerTest, aMoveIsOneMotionEvent) {
  client->placePointer(200, 200);
  moveBy(10, -5);
  const auto motions = all(Kind::motion);
  ASSERT_EQ(motions.size(), 1u);
  EXPECT_EQ(std::pair(motions[0].x, motions[0].y), std::pair(210, 195));
}

TEST_F(XTestPointerTest, goesOnFromWhereTheUsersOwnMouseHasGone) {
  client->placePointer(200, 200);
  moveBy(1, 1);
  settle();
  queue->advance(std::chrono::milliseconds(150));
  client->placePointer(500, 300);
  EXPECT_EQ(events->pointerLocation(), (PointerLocation{500, 300}));
  moveBy(7, 7);
  EXPECT_EQ(pointer(), std::pair(507, 307));
}

TEST_F(XTestPointerTest, stopsAtTheEdgesAndComesBackAtOnce) {
  client->placePointer(1270, 790);
  moveBy(1e6, 1e6);
  EXPECT_EQ(pointer(), std::pair(1279, 799));
  moveBy(-3, -4);
  EXPECT_EQ(pointer(), std::pair(1276, 795));
  moveBy(-1e300, -std::numeric_limits<double>::infinity());
  EXPECT_EQ(pointer(), std::pair(0, 0));
  moveBy(40000, 0);
  EXPECT_EQ(pointer(), std::pair(1279, 0));
}

TEST_F(XTestPointerTest, ignoresAMoveThatIsNoNumber) {
  client->placePointer(200, 200);
  moveBy(std::nan(""), std::nan(""));
  EXPECT_THAT(all(Kind::motion), IsEmpty());
  moveBy(2, 3);
  EXPECT_EQ(pointer(), std::pair(202, 203));
}

TEST_F(XTestPointerTest, clicksTheNumberOfTimes) {
  for (int i = 1; i <= 2; ++i) {
    events->postMouse({MouseEventType::leftDown, {}, 0, i});
    events->postMouse({MouseEventType::leftUp, {}, 0, i});
  }
  events->postMouse({MouseEventType::rightDown, {}, 1, 1});
  events->postMouse({MouseEventType::rightUp, {}, 1, 1});
  EXPECT_THAT(strokes(), ElementsAre(Pair(Kind::buttonPress, 1), Pair(Kind::buttonRelease, 1),
                                     Pair(Kind::buttonPress, 1), Pair(Kind::buttonRelease, 1),
                                     Pair(Kind::buttonPress, 3), Pair(Kind::buttonRelease, 3)));
}

TEST_F(XTestPointerTest, dragsWithTheButtonDown) {
  client->placePointer(100, 100);
  events->postMouse({MouseEventType::leftDown, {100, 100}, 0, 1});
  moveBy(30, 20);
  const auto motions = all(Kind::motion);
  events->postMouse({MouseEventType::leftUp, {130, 120}, 0, 1});
  ASSERT_EQ(motions.size(), 1u);
  EXPECT_EQ(motions[0].state & 0x100u, 0x100u);
  moveBy(1, 0);
  EXPECT_EQ(all(Kind::motion).back().state & 0x100u, 0u);
}

TEST_F(XTestPointerTest, theLeftClickIsThePrimaryOneOfALeftHandedUser) {
  events->postMouse({MouseEventType::leftDown, {}, 0, 1});  // so that the usual order is known already
  events->postMouse({MouseEventType::leftUp, {}, 0, 1});
  settle();
  client->assignButtons({3, 2, 1, 4, 5, 6, 7});
  settle();
  client->all();
  client->clear();
  events->postMouse({MouseEventType::leftDown, {}, 0, 1});
  events->postMouse({MouseEventType::leftUp, {}, 0, 1});
  EXPECT_THAT(strokes(), ElementsAre(Pair(Kind::buttonPress, 1), Pair(Kind::buttonRelease, 1)));
}

struct ScrollRow {
  ScrollEvent event;
  int button;
  int times;
};
class XTestScrollTest : public InputOnXvfb, public testing::WithParamInterface<ScrollRow> {};

TEST_P(XTestScrollTest, turnsTheWheel) {
  const auto& row = GetParam();
  events->postScroll(row.event);
  const auto presses = all(Kind::buttonPress);
  EXPECT_EQ(presses.size(), static_cast<std::size_t>(row.times));
  for (const auto& press : presses) EXPECT_EQ(press.detail, row.button);
  EXPECT_EQ(all(Kind::buttonRelease).size(), presses.size());
}

INSTANTIATE_TEST_SUITE_P(directions, XTestScrollTest,
                         testing::Values(ScrollRow{{30, 0}, 4, 2}, ScrollRow{{-30, 0}, 5, 2},
                                         ScrollRow{{0, 45}, 6, 3}, ScrollRow{{0, -45}, 7, 3},
                                         ScrollRow{{14, -14}, 0, 0},
                                         ScrollRow{{std::numeric_limits<std::int32_t>::min(), 0}, 5, 100}));

TEST_F(XTestPointerTest, smallScrollsAddUp) {
  for (int i = 0; i < 10; ++i) events->postScroll({4, 0});
  EXPECT_EQ(all(Kind::buttonPress).size(), 2u);
}

class XTestKeyTest : public InputOnXvfb {};

TEST_F(XTestKeyTest, holdsTheModifiersAroundTheStroke) {
  stroke(8, eventFlag::kControl | eventFlag::kOption | eventFlag::kShift);
  EXPECT_THAT(strokes(), ElementsAre(Pair(Kind::keyPress, kControlKey), Pair(Kind::keyPress, kAltKey),
                                     Pair(Kind::keyPress, kShiftKey), Pair(Kind::keyPress, 54),
                                     Pair(Kind::keyRelease, 54), Pair(Kind::keyRelease, kShiftKey),
                                     Pair(Kind::keyRelease, kAltKey), Pair(Kind::keyRelease, kControlKey)));
}

TEST_F(XTestKeyTest, commandIsControlOrSuperAsTheUserLikes) {
  stroke(8, eventFlag::kCommand);
  command = CommandModifier::super;
  stroke(8, eventFlag::kCommand);
  EXPECT_THAT(strokes(), ElementsAre(Pair(Kind::keyPress, kControlKey), Pair(Kind::keyPress, 54),
                                     Pair(Kind::keyRelease, 54), Pair(Kind::keyRelease, kControlKey),
                                     Pair(Kind::keyPress, kSuperKey), Pair(Kind::keyPress, 54),
                                     Pair(Kind::keyRelease, 54), Pair(Kind::keyRelease, kSuperKey)));
}

TEST_F(XTestKeyTest, aPrivateBitOfTheKeyCodeHoldsSuper) {
  stroke(2 | kSuperKeyBit);
  stroke(kSuperKeyCode);
  EXPECT_THAT(strokes(), ElementsAre(Pair(Kind::keyPress, kSuperKey), Pair(Kind::keyPress, 40),
                                     Pair(Kind::keyRelease, 40), Pair(Kind::keyRelease, kSuperKey),
                                     Pair(Kind::keyPress, kSuperKey), Pair(Kind::keyRelease, kSuperKey)));
}

TEST_F(XTestKeyTest, theFlagsOfArrowAndFunctionKeysPressNothing) {
  stroke(123, eventFlag::kNumericPad | eventFlag::kSecondaryFunction);
  EXPECT_THAT(strokes(), ElementsAre(Pair(Kind::keyPress, 113), Pair(Kind::keyRelease, 113)));
}

TEST_F(XTestKeyTest, leavesAModifierToTheUserWhoHoldsItAlready) {
  auto user = XTestInputEvents::open(
      std::make_shared<ReconnectingXServer>(server.display(), queue, Logger()), queue,
      [] { return CommandModifier::control; }, Logger());
  user->postKey({62, KeyDirection::down});  // the right-hand Control key
  ASSERT_TRUE(client->waitUntil([](const auto& seen) { return seen.size() == 1; }));
  client->clear();
  stroke(8, eventFlag::kCommand);
  EXPECT_THAT(strokes(), ElementsAre(Pair(Kind::keyPress, 54), Pair(Kind::keyRelease, 54)));
  EXPECT_THAT(client->keysDown(), ElementsAre(105));
}

TEST_F(XTestKeyTest, findsAModifierThatTheUserHasMoved) {
  ASSERT_EQ(
      test::runProgram({"setxkbmap", "-display", server.display(), "-option", "ctrl:swapcaps"}).exitStatus,
      0);
  stroke(8, eventFlag::kControl);
  EXPECT_THAT(strokes(), ElementsAre(Pair(Kind::keyPress, 66), Pair(Kind::keyPress, 54),
                                     Pair(Kind::keyRelease, 54), Pair(Kind::keyRelease, 66)));
}

TEST_F(XTestKeyTest, aKeyThatDoesNotExistCannotBeMade) {
  EXPECT_FALSE(events->postKey({63, KeyDirection::down}));
  EXPECT_FALSE(events->postKey({300, KeyDirection::down}));
  EXPECT_THAT(strokes(), IsEmpty());
}

TEST_F(XTestKeyTest, mediaKeysAreTheOnesOfTheKeymap) {
  for (const auto key : {MediaKey::play, MediaKey::next, MediaKey::previous}) {
    EXPECT_TRUE(events->postMediaKey(key, KeyDirection::down));
    EXPECT_TRUE(events->postMediaKey(key, KeyDirection::up));
  }
  std::vector<std::uint32_t> keysyms;
  for (const auto& press : all(Kind::keyPress)) keysyms.push_back(client->keysym(press.detail));
  EXPECT_THAT(keysyms, ElementsAre(0x1008ff14u, 0x1008ff17u, 0x1008ff16u));
  settle();
  EXPECT_THAT(client->keysDown(), IsEmpty());
}

struct KeyRow {
  std::uint16_t keyCode;
  std::uint32_t keysym;  // under the US layout
};

// Named keys, then the 47 character keys, then F1 to F20, then what hot keys may carry besides.
constexpr KeyRow kKeyRows[] = {
    {53, 0xff1b},  {48, 0xff09},  {36, 0xff0d},  {51, 0xff08},  {49, ' '},     {123, 0xff51}, {124, 0xff53},
    {126, 0xff52}, {125, 0xff54}, {0, 'a'},      {1, 's'},      {2, 'd'},      {3, 'f'},      {4, 'h'},
    {5, 'g'},      {6, 'z'},      {7, 'x'},      {8, 'c'},      {9, 'v'},      {11, 'b'},     {12, 'q'},
    {13, 'w'},     {14, 'e'},     {15, 'r'},     {16, 'y'},     {17, 't'},     {18, '1'},     {19, '2'},
    {20, '3'},     {21, '4'},     {22, '6'},     {23, '5'},     {24, '='},     {25, '9'},     {26, '7'},
    {27, '-'},     {28, '8'},     {29, '0'},     {30, ']'},     {31, 'o'},     {32, 'u'},     {33, '['},
    {34, 'i'},     {35, 'p'},     {37, 'l'},     {38, 'j'},     {39, '\''},    {40, 'k'},     {41, ';'},
    {42, '\\'},    {43, ','},     {44, '/'},     {45, 'n'},     {46, 'm'},     {47, '.'},     {50, '`'},
    {122, 0xffbe}, {120, 0xffbf}, {99, 0xffc0},  {118, 0xffc1}, {96, 0xffc2},  {97, 0xffc3},  {98, 0xffc4},
    {100, 0xffc5}, {101, 0xffc6}, {109, 0xffc7}, {103, 0xffc8}, {111, 0xffc9}, {115, 0xff50}, {119, 0xff57},
    {116, 0xff55}, {121, 0xff56}, {117, 0xffff}, {55, 0xffeb},  {10, '<'},     {76, 0xff8d},
};
// The kernel's F13 to F20; layouts put multimedia keys there.
constexpr std::pair<std::uint16_t, int> kHighFunctionKeys[] = {{105, 191}, {107, 192}, {113, 193}, {106, 194},
                                                               {64, 195},  {79, 196},  {80, 197},  {90, 198}};

TEST_F(XTestKeyTest, everyKeyCodeIsThePhysicalKeyOfTheUsLayout) {
  std::vector<int> keycodes;
  for (const auto& row : kKeyRows) {
    stroke(row.keyCode);
    const auto presses = all(Kind::keyPress);
    client->clear();
    ASSERT_EQ(presses.size(), 1u) << "key code " << row.keyCode;
    EXPECT_EQ(client->keysym(presses[0].detail), row.keysym) << "key code " << row.keyCode;
    keycodes.push_back(presses[0].detail);
  }
  for (const auto* layout : {"fr", "de"}) {
    server.setLayout(layout);
    for (std::size_t i = 0; i < keycodes.size(); ++i) {
      stroke(kKeyRows[i].keyCode);
      const auto presses = all(Kind::keyPress);
      client->clear();
      ASSERT_EQ(presses.size(), 1u) << layout << " key code " << kKeyRows[i].keyCode;
      EXPECT_EQ(presses[0].detail, keycodes[i]) << layout << " key code " << kKeyRows[i].keyCode;
    }
  }
}

TEST(VirtualKeyCodes, highFunctionKeysAreTheKernels) {
  for (const auto& [keyCode, keycode] : kHighFunctionKeys) EXPECT_EQ(xKeycodeOf(keyCode), keycode);
}

}  // namespace
}  // namespace tevanto
