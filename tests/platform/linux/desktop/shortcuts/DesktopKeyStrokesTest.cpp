#include "platform/linux/desktop/shortcuts/DesktopKeyStrokes.h"

#include <gmock/gmock.h>

#include "platform/linux/input/VirtualKeyCodes.h"
#include "tests/support/fakes/RecordingInputEvents.h"

namespace tevanto {
namespace {

using test::RecordedKey;
using test::RecordedMediaKey;
using test::RecordingInputEvents;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr auto kDown = KeyDirection::down;
constexpr auto kUp = KeyDirection::up;
constexpr auto kCommand = eventFlag::kCommand;

class DesktopKeyStrokesTest : public testing::Test {
 protected:
  bool stroke(std::uint16_t keyCode, std::uint32_t flags) {
    const bool down = strokes.postKey({keyCode, kDown, flags});
    return strokes.postKey({keyCode, kUp, flags}) && down;
  }

  bool works = true;
  std::vector<std::string> done;
  std::shared_ptr<RecordingInputEvents> events = std::make_shared<RecordingInputEvents>();
  DesktopKeyStrokes strokes{
      events,
      {[this] { return done.push_back("lock"), works; }, [this] { return done.push_back("overview"), works; },
       [this](MediaKey) { return done.push_back("media"), works; }}};
};

TEST_F(DesktopKeyStrokesTest, commandTabIsTheApplicationSwitcher) {
  stroke(48, kCommand);
  stroke(48, kCommand | eventFlag::kShift);
  EXPECT_THAT(
      events->only<RecordedKey>(),
      ElementsAre(RecordedKey{48, kDown, eventFlag::kOption}, RecordedKey{48, kUp, eventFlag::kOption},
                  RecordedKey{48, kDown, eventFlag::kOption | eventFlag::kShift},
                  RecordedKey{48, kUp, eventFlag::kOption | eventFlag::kShift}));
}

TEST_F(DesktopKeyStrokesTest, commandSpaceIsTheOverview) {
  EXPECT_TRUE(stroke(49, kCommand));
  EXPECT_THAT(done, ElementsAre("overview"));
  EXPECT_THAT(events->events, IsEmpty());
}

TEST_F(DesktopKeyStrokesTest, withoutAnOverviewTheSuperKeyIsTapped) {
  works = false;
  EXPECT_TRUE(stroke(49, kCommand));
  EXPECT_THAT(events->only<RecordedKey>(),
              ElementsAre(RecordedKey{kSuperKeyCode, kDown}, RecordedKey{kSuperKeyCode, kUp}));
}

TEST_F(DesktopKeyStrokesTest, commandControlQLocksTheSessionOnce) {
  EXPECT_TRUE(stroke(12, kCommand | eventFlag::kControl));
  EXPECT_THAT(done, ElementsAre("lock"));
  EXPECT_THAT(events->events, IsEmpty());
}

TEST_F(DesktopKeyStrokesTest, aLockThatFailsIsAnEventThatCannotBeMade) {
  works = false;
  EXPECT_FALSE(strokes.postKey({12, kDown, kCommand | eventFlag::kControl}));
  EXPECT_FALSE(strokes.postKey({12, kUp, kCommand | eventFlag::kControl}));
  EXPECT_THAT(events->events, IsEmpty());
}

TEST_F(DesktopKeyStrokesTest, everythingElsePasses) {
  const std::vector<std::pair<std::uint16_t, std::uint32_t>> others{
      {12, kCommand},
      {12, kCommand | eventFlag::kControl | eventFlag::kShift},
      {48, 0},
      {48, eventFlag::kControl},
      {48, kCommand | eventFlag::kControl},
      {49, 0},
      {49, kCommand | eventFlag::kShift},
      {8, kCommand}};
  std::vector<RecordedKey> expected;
  for (const auto& [keyCode, flags] : others) {
    EXPECT_TRUE(stroke(keyCode, flags));
    expected.push_back({keyCode, kDown, flags});
    expected.push_back({keyCode, kUp, flags});
  }
  EXPECT_EQ(events->only<RecordedKey>(), expected);
  EXPECT_THAT(done, IsEmpty());
}

TEST_F(DesktopKeyStrokesTest, textAndPointerPass) {
  EXPECT_TRUE(strokes.postKey({12, kDown, kCommand | eventFlag::kControl, u"q"}));
  strokes.warpPointer({3, 4});
  EXPECT_TRUE(strokes.postMouse({MouseEventType::leftDown, {3, 4}, 0, 1}));
  EXPECT_TRUE(strokes.postScroll({5, 6}));
  EXPECT_EQ(strokes.pointerLocation(), (PointerLocation{3, 4}));
  EXPECT_EQ(events->events.size(), 4u);
  EXPECT_THAT(done, IsEmpty());
}

TEST_F(DesktopKeyStrokesTest, mediaKeysGoToThePlayer) {
  EXPECT_TRUE(strokes.postMediaKey(MediaKey::next, kDown));
  EXPECT_TRUE(strokes.postMediaKey(MediaKey::next, kUp));
  EXPECT_THAT(done, ElementsAre("media"));
  EXPECT_THAT(events->events, IsEmpty());
}

TEST_F(DesktopKeyStrokesTest, withoutAPlayerTheyAreKeysOfTheKeyboard) {
  works = false;
  EXPECT_TRUE(strokes.postMediaKey(MediaKey::play, kDown));
  EXPECT_TRUE(strokes.postMediaKey(MediaKey::play, kUp));
  EXPECT_THAT(events->only<RecordedMediaKey>(),
              ElementsAre(RecordedMediaKey{MediaKey::play, kDown}, RecordedMediaKey{MediaKey::play, kUp}));
}

}  // namespace
}  // namespace tevanto
