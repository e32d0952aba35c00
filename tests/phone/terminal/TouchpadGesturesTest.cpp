#include "phone/terminal/TouchpadGestures.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

namespace tevanto::phone {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// "click left 1", "movePointer 20 0", ...
std::string brief(const RemoteCommand& command) {
  std::ostringstream text;
  text << command.type;
  if (command.dx || command.dy) text << ' ' << command.dx.value_or(0) << ' ' << command.dy.value_or(0);
  if (command.button) text << ' ' << *command.button << ' ' << command.clicks.value_or(0);
  return text.str();
}

class TouchpadGesturesTest : public testing::Test {
 protected:
  std::vector<std::string> feed(std::string_view bytes) {
    return briefs(gestures_.handle(events_.feed(bytes)));
  }
  static std::vector<std::string> briefs(const std::vector<RemoteCommand>& commands) {
    std::vector<std::string> texts;
    for (const auto& command : commands) texts.push_back(brief(command));
    return texts;
  }

  TerminalEvents events_;
  TouchpadGestures gestures_;
};

TEST_F(TouchpadGesturesTest, movesByArrowKeys) {
  EXPECT_THAT(feed("\x1b[A"), ElementsAre("movePointer 0 -20"));
  EXPECT_THAT(feed("\x1b[B"), ElementsAre("movePointer 0 20"));
  EXPECT_THAT(feed("\x1b[C"), ElementsAre("movePointer 20 0"));
  EXPECT_THAT(feed("\x1b[D"), ElementsAre("movePointer -20 0"));
  EXPECT_THAT(feed("\x1b[1;2C"), ElementsAre("movePointer 100 0"));
}

TEST_F(TouchpadGesturesTest, joinsMotionThatArrivesTogether) {
  EXPECT_THAT(feed("\x1b[A\x1b[A\x1b[C"), ElementsAre("movePointer 20 -40"));
  EXPECT_THAT(feed("\x1b[A\x1b[B"), IsEmpty());
  EXPECT_THAT(feed("\x1b[A \x1b[C"), ElementsAre("movePointer 0 -20", "click left 1", "movePointer 20 0"));
}

TEST_F(TouchpadGesturesTest, clicksByKeys) {
  EXPECT_THAT(feed(" "), ElementsAre("click left 1"));
  EXPECT_THAT(feed("\r"), ElementsAre("click left 1"));
  EXPECT_THAT(feed("d"), ElementsAre("click left 2"));
  EXPECT_THAT(feed("r"), ElementsAre("click right 1"));
  EXPECT_THAT(feed("x"), IsEmpty());
}

TEST_F(TouchpadGesturesTest, scrollsByKeysAndWheel) {
  EXPECT_THAT(feed("k"), ElementsAre("scroll 0 60"));
  EXPECT_THAT(feed("j"), ElementsAre("scroll 0 -60"));
  EXPECT_THAT(feed("\x1b[<64;1;1M\x1b[<65;1;1M\x1b[<66;1;1M\x1b[<67;1;1M"),
              ElementsAre("scroll 0 60", "scroll 0 -60", "scroll 60 0", "scroll -60 0"));
}

TEST_F(TouchpadGesturesTest, grabsAndDrops) {
  EXPECT_THAT(feed("g\x1b[Cg"), ElementsAre("mouseDown", "movePointer 20 0", "mouseUp"));
  EXPECT_THAT(briefs(gestures_.finish()), IsEmpty());
}

TEST_F(TouchpadGesturesTest, letsGoAtTheEnd) {
  EXPECT_THAT(feed("g"), ElementsAre("mouseDown"));
  EXPECT_THAT(briefs(gestures_.finish()), ElementsAre("mouseUp"));
  EXPECT_THAT(briefs(gestures_.finish()), IsEmpty());
}

TEST_F(TouchpadGesturesTest, followsTheMouse) {
  EXPECT_THAT(feed("\x1b[<35;10;10M"), IsEmpty());  // where it starts is no motion
  EXPECT_THAT(feed("\x1b[<35;12;9M"), ElementsAre("movePointer 20 -20"));
  EXPECT_THAT(feed("\x1b[<35;12;9M"), IsEmpty());
}

TEST_F(TouchpadGesturesTest, clicksWithTheMouse) {
  EXPECT_THAT(feed("\x1b[<0;5;5M\x1b[<0;5;5m"), ElementsAre("click left 1"));
  EXPECT_THAT(feed("\x1b[<2;5;5M\x1b[<2;5;5m"), ElementsAre("click right 1"));
  EXPECT_THAT(feed("\x1b[<1;5;5M\x1b[<1;5;5m"), IsEmpty());
  EXPECT_THAT(feed("\x1b[<0;5;5m"), IsEmpty());  // a release without its press
}

TEST_F(TouchpadGesturesTest, dragsWithTheMouse) {
  EXPECT_THAT(feed("\x1b[<0;5;5M"), IsEmpty());
  EXPECT_THAT(feed("\x1b[<32;6;5M"), ElementsAre("mouseDown", "movePointer 10 0"));
  EXPECT_THAT(feed("\x1b[<32;7;5M\x1b[<0;7;5m"), ElementsAre("movePointer 10 0", "mouseUp"));
}

TEST_F(TouchpadGesturesTest, quits) {
  for (const std::string_view key : {"q", "\x03", "\x04"}) {
    TouchpadGestures gestures;
    EXPECT_FALSE(gestures.wantsToQuit());
    EXPECT_THAT(briefs(gestures.handle(TerminalEvents().feed(std::string(key) + " "))), IsEmpty());
    EXPECT_TRUE(gestures.wantsToQuit());
  }
}

}  // namespace
}  // namespace tevanto::phone
