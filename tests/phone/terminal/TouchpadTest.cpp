#include "phone/terminal/Touchpad.h"

#include <gmock/gmock.h>

#include <thread>

#include "tests/phone/terminal/PhoneFixture.h"
#include "tests/support/programs/PseudoTerminal.h"

namespace tevanto::phone {
namespace {

using testing::HasSubstr;

/// The touchpad in this process on a terminal of its own; the test types and watches.
class TouchpadTest : public PhoneFixture {
 protected:
  void start() {
    inputDescriptor_ = terminal_.device();
    program_ = std::thread([this] { status_ = run({"touchpad"}); });
    ASSERT_TRUE(terminal_.waitFor("q quit")) << terminal_.screen();
  }
  int finish() {
    program_.join();
    return status_;
  }
  std::vector<std::string> types() {
    std::vector<std::string> found;
    for (const auto& command : companion_.commands()) found.push_back(command.type);
    return found;
  }

  test::PseudoTerminal terminal_;
  std::thread program_;
  int status_ = -1;
};

TEST_F(TouchpadTest, drivesThePointerLive) {
  start();
  EXPECT_FALSE(terminal_.isCooked());
  terminal_.type("\x1b[A");
  ASSERT_TRUE(companion_.waitForCommands(1));
  terminal_.type(" ");
  ASSERT_TRUE(companion_.waitForCommands(2));
  terminal_.type("\x1b[<35;5;5M\x1b[<35;6;5M");
  ASSERT_TRUE(companion_.waitForCommands(3));
  terminal_.type("q");
  EXPECT_EQ(finish(), 0) << err();
  EXPECT_THAT(types(), testing::ElementsAre("movePointer", "click", "movePointer"));
  EXPECT_EQ(companion_.commands()[0].dy, -20);
  EXPECT_EQ(companion_.commands()[2].dx, 10);
}

TEST_F(TouchpadTest, restoresTheTerminal) {
  start();
  terminal_.type("q");
  EXPECT_EQ(finish(), 0);
  EXPECT_TRUE(terminal_.isCooked());
  EXPECT_TRUE(terminal_.waitFor("\x1b[?1006l\x1b[?1003l\x1b[?25h\x1b[?1049l"));
}

TEST_F(TouchpadTest, letsGoOfWhatItHolds) {
  start();
  terminal_.type("g");
  ASSERT_TRUE(companion_.waitForCommands(1));
  terminal_.type("q");
  EXPECT_EQ(finish(), 0);
  ASSERT_TRUE(companion_.waitForCommands(2));
  EXPECT_THAT(types(), testing::ElementsAre("mouseDown", "mouseUp"));
}

TEST_F(TouchpadTest, showsWhyItIsRefused) {
  companion_.script()->ack.ok = false;
  companion_.script()->ack.message = "accessibility required";
  start();
  terminal_.type(" ");
  EXPECT_TRUE(terminal_.waitFor("accessibility required"));
  terminal_.type("q");
  EXPECT_EQ(finish(), 0);
}

TEST_F(TouchpadTest, restoresTheTerminalWhenTheConnectionIsLost) {
  start();
  companion_.dropPhone();
  EXPECT_EQ(finish(), 5);
  EXPECT_TRUE(terminal_.isCooked());
  EXPECT_THAT(err(), HasSubstr("closed the connection"));
}

TEST_F(TouchpadTest, needsATerminal) {
  EXPECT_EQ(run({"touchpad"}), 2);
  EXPECT_THAT(err(), HasSubstr("needs a terminal"));
  EXPECT_THAT(companion_.received(), testing::IsEmpty());
}

}  // namespace
}  // namespace tevanto::phone
