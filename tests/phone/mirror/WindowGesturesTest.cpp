#include "phone/mirror/WindowGestures.h"

#include <gtest/gtest.h>

namespace tevanto::phone {
namespace {

constexpr auto kLeft = WindowButton::Button::left;
constexpr auto kRight = WindowButton::Button::right;

std::vector<std::string> typesOf(const std::vector<RemoteCommand>& commands) {
  std::vector<std::string> types;
  for (const auto& command : commands) types.push_back(command.type);
  return types;
}
using Types = std::vector<std::string>;

TEST(WindowGestures, motionThatArrivesTogetherLeavesAsOneCommand) {
  const auto commands = WindowGestures().handle({WindowMotion{1, 2}, WindowMotion{3, -5}});
  ASSERT_EQ(commands.size(), 1u);
  EXPECT_EQ(commands[0].type, "movePointer");
  EXPECT_EQ(commands[0].dx, 4);
  EXPECT_EQ(commands[0].dy, -3);
}

TEST(WindowGestures, clicksWhereThePointerHasMovedTo) {
  const auto commands =
      WindowGestures().handle({WindowMotion{1, 2}, WindowButton{kLeft, true}, WindowButton{kLeft, false}});
  EXPECT_EQ(typesOf(commands), (Types{"movePointer", "click"}));
  EXPECT_EQ(commands[1].button, "left");
  EXPECT_EQ(commands[1].clicks, 1);
}

TEST(WindowGestures, dragsWhatIsPressedAndMoved) {
  const auto commands = WindowGestures().handle(
      {WindowButton{kLeft, true}, WindowMotion{10, 0}, WindowMotion{5, 0}, WindowButton{kLeft, false}});
  EXPECT_EQ(typesOf(commands), (Types{"mouseDown", "movePointer", "mouseUp"}));
  EXPECT_EQ(commands[1].dx, 15);
}

TEST(WindowGestures, letsGoWhenItEndsInADrag) {
  WindowGestures gestures;
  EXPECT_TRUE(gestures.finish().empty());
  (void)gestures.handle({WindowButton{kLeft, true}, WindowMotion{10, 0}});
  EXPECT_EQ(typesOf(gestures.finish()), Types{"mouseUp"});
  EXPECT_TRUE(gestures.finish().empty());
}

TEST(WindowGestures, clicksWithTheRightButton) {
  const auto commands = WindowGestures().handle({WindowButton{kRight, true}, WindowButton{kRight, false}});
  ASSERT_EQ(typesOf(commands), Types{"click"});
  EXPECT_EQ(commands[0].button, "right");
}

TEST(WindowGestures, aReleaseWithoutAPressMeansNothing) {
  EXPECT_TRUE(WindowGestures().handle({WindowButton{kLeft, false}}).empty());
}

TEST(WindowGestures, scrollsBySteps) {
  const auto commands = WindowGestures().handle({WindowScroll{0, 1}, WindowScroll{-0.5, 0}});
  ASSERT_EQ(typesOf(commands), (Types{"scroll", "scroll"}));
  EXPECT_EQ(commands[0].dy, WindowGestures::kWheelStep);
  EXPECT_EQ(commands[1].dx, -WindowGestures::kWheelStep / 2);
}

TEST(WindowGestures, sendsTextAsTextAndKeysAsKeys) {
  const auto commands = WindowGestures().handle({WindowText{"ß"}, WindowKey{"left", true, true, false, false},
                                                 WindowKey{"c", false, false, true, true}, WindowKey{"F7"}});
  ASSERT_EQ(typesOf(commands), (Types{"insertText", "keyPress", "keyPress"}));
  EXPECT_EQ(commands[0].text, "ß");
  EXPECT_EQ(commands[1].key, "arrowLeft");
  EXPECT_EQ(commands[1].modifiers, (std::vector{RemoteModifier::shift, RemoteModifier::option}));
  EXPECT_EQ(commands[2].key, "c");
  EXPECT_EQ(commands[2].modifiers, (std::vector{RemoteModifier::control, RemoteModifier::command}));
}

TEST(WindowGestures, noticesThatTheWindowWasClosed) {
  WindowGestures gestures;
  EXPECT_FALSE(gestures.wantsToClose());
  (void)gestures.handle({WindowClosed{}});
  EXPECT_TRUE(gestures.wantsToClose());
}

}  // namespace
}  // namespace tevanto::phone
