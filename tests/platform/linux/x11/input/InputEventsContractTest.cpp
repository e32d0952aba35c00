// What the input controller relies on holds of XTEST under a real server and of the recorder that stands in
// for it in the controller's own tests alike.

#include <gmock/gmock.h>

#include <cmath>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "control/InputEvents.h"
#include "control/KeyCodes.h"
#include "platform/linux/x11/ReconnectingXServer.h"
#include "platform/linux/x11/XInputConnection.h"
#include "platform/linux/x11/input/XTestInputEvents.h"
#include "tests/support/desktop/RecordingXClient.h"
#include "tests/support/desktop/XvfbServer.h"
#include "tests/support/fakes/ManualQueue.h"
#include "tests/support/fakes/RecordingInputEvents.h"

namespace tevanto {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// An implementation, and an application at the other end of it.
class Stage {
 public:
  virtual ~Stage() = default;
  virtual InputEvents& subject() = 0;
  /// What an application was told since the last call: characters, "<button 1 down at 20,30>", "<wheel up>"
  /// for any number of steps, "<play>".
  virtual std::vector<std::string> seen() = 0;
};

std::string buttonText(int button, bool down, PointerLocation at) {
  return "<button " + std::to_string(button) + (down ? " down" : " up") + " at " +
         std::to_string(std::lround(at.x)) + "," + std::to_string(std::lround(at.y)) + ">";
}

void appendWheel(std::vector<std::string>& seen, const char* direction) {
  const auto step = std::string("<wheel ") + direction + ">";
  if (seen.empty() || seen.back() != step) seen.push_back(step);
}

class RecorderStage final : public Stage {
 public:
  InputEvents& subject() override { return events_; }

  std::vector<std::string> seen() override {
    seen_.clear();
    for (const auto& event : std::exchange(events_.events, {}))
      std::visit([this](const auto& one) { add(one); }, event);
    return seen_;
  }

 private:
  void add(const test::RecordedKey& key) {
    if (key.direction == KeyDirection::up) return;
    for (const char16_t unit : key.text) seen_.emplace_back(1, static_cast<char>(unit));
    if (!key.text.empty()) return;
    const bool shifted = (key.flags & eventFlag::kShift) != 0;
    for (const char letter : {'a', 'b', 'q'}) {
      if (keyCodeNamed(std::string(1, letter)) == key.keyCode)
        seen_.emplace_back(1, static_cast<char>(shifted ? letter - 'a' + 'A' : letter));
    }
  }
  void add(const test::RecordedMouse& mouse) {
    if (mouse.type == MouseEventType::moved || mouse.type == MouseEventType::leftDragged) return;
    const bool right = mouse.type == MouseEventType::rightDown || mouse.type == MouseEventType::rightUp;
    const bool down = mouse.type == MouseEventType::leftDown || mouse.type == MouseEventType::rightDown;
    seen_.push_back(buttonText(right ? 3 : 1, down, mouse.location));
  }
  void add(const test::RecordedScroll& scroll) {
    if (scroll.vertical != 0) appendWheel(seen_, scroll.vertical > 0 ? "up" : "down");
    if (scroll.horizontal != 0) appendWheel(seen_, scroll.horizontal > 0 ? "left" : "right");
  }
  void add(const test::RecordedMediaKey& media) {
    const std::map<MediaKey, std::string> names{
        {MediaKey::play, "<play>"}, {MediaKey::next, "<next>"}, {MediaKey::previous, "<previous>"}};
    if (media.direction == KeyDirection::down) seen_.push_back(names.at(media.key));
  }
  void add(const test::RecordedWarp&) {}

  test::RecordingInputEvents events_;
  std::vector<std::string> seen_;
};

class XTestStage final : public Stage {
 public:
  InputEvents& subject() override { return *events_; }

  std::vector<std::string> seen() override {
    queue_->advance(std::chrono::seconds(1));  // typing makes pauses
    const auto connection = link_->connection();
    auto* xcb = connection->xcb();
    XcbOwned<xcb_get_input_focus_reply_t>(xcb_get_input_focus_reply(xcb, xcb_get_input_focus(xcb), nullptr));
    seen_.clear();
    for (const auto& event : client_.all()) add(event);
    client_.clear();
    return seen_;
  }

 private:
  using Kind = test::XEvent::Kind;

  void add(const test::XEvent& event) {
    if (event.kind == Kind::keyPress) addKey(event);
    if (event.kind == Kind::buttonPress || event.kind == Kind::buttonRelease) addButton(event);
  }
  void addKey(const test::XEvent& event) {
    const std::map<int, char> letters{{24, 'q'}, {38, 'a'}, {56, 'b'}};
    const std::map<int, std::string> media{{171, "<next>"}, {172, "<play>"}, {173, "<previous>"}};
    if (const auto found = media.find(event.detail); found != media.end()) seen_.push_back(found->second);
    const auto found = letters.find(event.detail);
    if (found == letters.end()) return;
    const bool shifted = (event.state & 1u) != 0;
    seen_.emplace_back(1, static_cast<char>(shifted ? found->second - 'a' + 'A' : found->second));
  }
  void addButton(const test::XEvent& event) {
    const std::map<int, const char*> wheel{{4, "up"}, {5, "down"}, {6, "left"}, {7, "right"}};
    const bool down = event.kind == Kind::buttonPress;
    if (const auto found = wheel.find(event.detail); found != wheel.end()) {
      if (down) appendWheel(seen_, found->second);
    } else {
      seen_.push_back(
          buttonText(event.detail, down, {static_cast<double>(event.x), static_cast<double>(event.y)}));
    }
  }

  test::XvfbServer server_;
  test::RecordingXClient client_{server_.display()};
  std::shared_ptr<test::ManualQueue> queue_ = std::make_shared<test::ManualQueue>("main");
  std::shared_ptr<ReconnectingXServer> link_ =
      std::make_shared<ReconnectingXServer>(server_.display(), queue_, Logger());
  std::shared_ptr<XTestInputEvents> events_ = XTestInputEvents::open(
      link_, queue_, [] { return CommandModifier::control; }, Logger());
  std::vector<std::string> seen_;
};

struct Implementation {
  const char* name;
  std::function<std::unique_ptr<Stage>()> make;
};

void PrintTo(const Implementation& implementation, std::ostream* out) { *out << implementation.name; }

class InputEventsContract : public testing::TestWithParam<Implementation> {
 protected:
  InputEvents& subject() { return stage_->subject(); }
  std::vector<std::string> seen() { return stage_->seen(); }
  void moveTo(PointerLocation location, MouseEventType how = MouseEventType::moved) {
    subject().warpPointer(location);
    EXPECT_TRUE(subject().postMouse({how, location}));
  }
  void postButton(MouseEventType type, int button) {
    EXPECT_TRUE(subject().postMouse({type, subject().pointerLocation(), button, 1}));
  }
  void postBoth(KeyEvent event) {
    EXPECT_TRUE(subject().postKey(event));
    event.direction = KeyDirection::up;
    EXPECT_TRUE(subject().postKey(event));
  }
  void stroke(char letter, std::uint32_t flags = 0) {
    postBoth({*keyCodeNamed(std::string(1, letter)), KeyDirection::down, flags});
  }
  void type(std::u16string_view text) { postBoth({keyCode::kA, KeyDirection::down, 0, text}); }

 private:
  std::unique_ptr<Stage> stage_ = GetParam().make();
};

TEST_P(InputEventsContract, thePointerIsWhereItWasPutToTheFraction) {
  moveTo({200.4, 100.75});
  const auto at = subject().pointerLocation();
  EXPECT_NEAR(at.x, 200.4, 1e-9);
  EXPECT_NEAR(at.y, 100.75, 1e-9);
  moveTo({at.x + 0.4, at.y - 50});
  EXPECT_NEAR(subject().pointerLocation().x, 200.8, 1e-9);
  EXPECT_NEAR(subject().pointerLocation().y, 50.75, 1e-9);
}

TEST_P(InputEventsContract, aMotionEventAloneMovesNothing) {
  moveTo({200, 100});
  EXPECT_TRUE(subject().postMouse({MouseEventType::moved, {300, 300}}));
  EXPECT_EQ(subject().pointerLocation(), (PointerLocation{200, 100}));
}

TEST_P(InputEventsContract, buttonsGoDownAndUpWhereThePointerIs) {
  moveTo({200, 100});
  postButton(MouseEventType::leftDown, 0);
  moveTo({230, 120}, MouseEventType::leftDragged);
  postButton(MouseEventType::leftUp, 0);
  postButton(MouseEventType::rightDown, 1);
  postButton(MouseEventType::rightUp, 1);
  EXPECT_THAT(seen(), ElementsAre("<button 1 down at 200,100>", "<button 1 up at 230,120>",
                                  "<button 3 down at 230,120>", "<button 3 up at 230,120>"));
}

TEST_P(InputEventsContract, aKeyIsPressedOnceWithItsModifiers) {
  stroke('a');
  stroke('q', eventFlag::kShift);
  stroke('b');
  EXPECT_THAT(seen(), ElementsAre("a", "Q", "b"));
}

TEST_P(InputEventsContract, textIsTypedOnceInPlaceOfTheKey) {
  type(u"bqA");
  EXPECT_THAT(seen(), ElementsAre("b", "q", "A"));
}

TEST_P(InputEventsContract, everythingComesInTheOrderInWhichItWasPosted) {
  moveTo({20, 30});
  type(u"ab");
  postButton(MouseEventType::leftDown, 0);
  postButton(MouseEventType::leftUp, 0);
  stroke('q');
  EXPECT_TRUE(subject().postScroll({300, 0}));
  type(u"b");
  EXPECT_THAT(seen(), ElementsAre("a", "b", "<button 1 down at 20,30>", "<button 1 up at 20,30>", "q",
                                  "<wheel up>", "b"));
}

TEST_P(InputEventsContract, positiveScrollsUpAndLeft) {
  for (const auto& scroll : {ScrollEvent{300, 0}, {-300, 0}, {0, 300}, {0, -300}})
    EXPECT_TRUE(subject().postScroll(scroll));
  EXPECT_THAT(seen(), ElementsAre("<wheel up>", "<wheel down>", "<wheel left>", "<wheel right>"));
}

TEST_P(InputEventsContract, noScrollIsNoStep) {
  EXPECT_TRUE(subject().postScroll({0, 0}));
  EXPECT_THAT(seen(), IsEmpty());
}

TEST_P(InputEventsContract, mediaKeysArePressed) {
  for (const auto key : {MediaKey::play, MediaKey::next, MediaKey::previous}) {
    EXPECT_TRUE(subject().postMediaKey(key, KeyDirection::down));
    EXPECT_TRUE(subject().postMediaKey(key, KeyDirection::up));
  }
  EXPECT_THAT(seen(), ElementsAre("<play>", "<next>", "<previous>"));
}

INSTANTIATE_TEST_SUITE_P(
    , InputEventsContract,
    testing::Values(Implementation{"recorder", [] { return std::make_unique<RecorderStage>(); }},
                    Implementation{"xtest", [] { return std::make_unique<XTestStage>(); }}),
    [](const auto& test) { return test.param.name; });

}  // namespace
}  // namespace tevanto
