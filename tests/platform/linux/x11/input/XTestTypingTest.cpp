#include <gmock/gmock.h>
#include <xkbcommon/xkbcommon.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>

#include "core/queue/EventLoop.h"
#include "core/text/Text.h"
#include "platform/linux/x11/XcbXkb.h"
#include "platform/linux/x11/input/SpareKeyPool.h"
#include "platform/linux/x11/input/XKeyboard.h"
#include "tests/platform/linux/x11/input/InputOnXvfb.h"
#include "tests/platform/linux/x11/input/TypingSamples.h"
#include "tests/support/desktop/TextXClient.h"
#include "tests/support/programs/Eventually.h"
#include "tests/support/programs/TemporaryFolder.h"

namespace tevanto {
namespace {

using test::TextXClient;
using test::XvfbServer;

/// Types in real time on a queue of its own, as the companion does, into a client that is served beside it.
class TypingTest : public ::testing::Test {
 protected:
  ~TypingTest() override {
    stop();
    loop->stop();
  }

  void start() {
    queue->sync([this] {
      link = std::make_shared<ReconnectingXServer>(server.display(), queue, Logger());
      events = XTestInputEvents::open(
          link, queue, [] { return CommandModifier::control; }, Logger());
    });
  }
  void stop() {
    queue->sync([this] { events.reset(); });
  }

  /// In chunks of at most twenty units, as the input controller cuts them.
  void post(const std::u16string& text) {
    for (std::size_t at = 0; at < text.size();) {
      std::size_t end = std::min(at + 20, text.size());
      if (end < text.size() && (text[end] & 0xfc00) == 0xdc00) --end;
      const auto chunk = text.substr(at, end - at);
      events->postKey({0, KeyDirection::down, 0, chunk});
      events->postKey({0, KeyDirection::up, 0, chunk});
      at = end;
    }
  }
  void type(const std::u16string& text) {
    queue->sync([&] { post(text); });
  }
  /// What the client has once `posting` was carried out. One that reads its keys later than a borrowed key
  /// code rests finds wrong characters, whoever types them: then it was the machine, and all is typed again.
  std::string whatArrives(TextXClient& client, const std::string& expected,
                          const std::function<void()>& posting) {
    constexpr int kTurns = 5;
    for (int turn = 1;; ++turn) {
      client.clear();
      queue->sync(posting);
      const auto text = client.textOf(expected.size());
      const bool wasInTime = client.longestDelay() < SpareKeyPool::kReuseAfter;
      if (text == expected || wasInTime || turn == kTurns) return text;
      client.textOf(std::string::npos);  // whatever still comes
    }
  }
  std::string typed(TextXClient& client, const std::u16string& text) {
    return whatArrives(client, toUtf8(text), [&] { post(text); });
  }
  unsigned lockedModifiers() {
    unsigned locked = 0;
    queue->sync([&] { locked = XKeyboard(link->connection()).state().lockedModifiers; });
    return locked;
  }

  XvfbServer server;
  std::shared_ptr<EventLoop> loop = EventLoop::background(1);
  std::shared_ptr<SerialQueue> queue = loop->makeQueue("main");
  std::shared_ptr<ReconnectingXServer> link;
  std::shared_ptr<XTestInputEvents> events;
};

class TypingUnderLayout : public TypingTest, public testing::WithParamInterface<const char*> {};

TEST_P(TypingUnderLayout, twoThousandMixedCharactersArriveExactly) {
  server.setLayout(GetParam());
  TextXClient client(server.display());
  start();
  const auto text = test::mixedText(2000, 7);
  EXPECT_EQ(typed(client, text), toUtf8(text));
}

INSTANTIATE_TEST_SUITE_P(layouts, TypingUnderLayout, testing::Values("us", "fr", "de", "gr,us", "us,ru"));

TEST_F(TypingTest, keysOfEachLayoutAreUsedWithTheirLevels) {
  TextXClient client(server.display());
  start();
  for (const auto* layout : {"us", "fr", "de"}) {
    server.setLayout(layout);
    const std::u16string text = u"aA1!@#~{}[]|\\€qQzZyY;:,.éàçùßöÄ²µ-_=+'\"";
    EXPECT_EQ(typed(client, text), toUtf8(text)) << layout;
  }
}

TEST_F(TypingTest, everyCharacterThatHasAnOldKeysymArrivesToo) {
  TextXClient client(server.display());
  start();
  std::u16string text;
  for (std::uint32_t keysym = 0x1a1; keysym < 0x2100; ++keysym) {
    const auto character = xkb_keysym_to_utf32(keysym);
    if (character >= 0xa0) text.push_back(static_cast<char16_t>(character));
  }
  EXPECT_GT(text.size(), 700u);
  EXPECT_EQ(typed(client, text), toUtf8(text));
}

TEST_F(TypingTest, arrivesInATerminal) {
  test::TemporaryFolder folder;
  const std::string script = "stty raw -echo; cd '" + folder.path().string() + "'; echo > ready; cat > text";
  test::ChildProcess::Options options;
  options.environment = {{"DISPLAY", server.display()}, {"LC_ALL", "C.UTF-8"}, {"XMODIFIERS", "@im=none"}};
  test::ChildProcess terminal({"xterm", "-geometry", "200x60+0+0", "-e", "sh", "-c", script}, options);
  ASSERT_TRUE(test::eventually([&] { return std::filesystem::exists(folder / "ready"); }));
  start();
  queue->sync([this] {
    events->warpPointer({100, 100});
  });  // without a window manager it has the keyboard then
  const auto text = test::mixedText(1000, 11) + u"\n";
  type(text);
  auto expected = toUtf8(text);
  expected.back() = '\r';  // what the Return key sends
  std::string received;
  test::eventually([&] {
    std::ifstream file(folder / "text");
    received.assign(std::istreambuf_iterator<char>(file), {});
    return received.size() >= expected.size();
  });
  EXPECT_EQ(received, expected);
}

TEST_F(TypingTest, capsLockChangesNothingAndStaysOn) {
  TextXClient client(server.display());
  start();
  queue->sync([this] {
    events->postKey({57, KeyDirection::down});
    events->postKey({57, KeyDirection::up});
  });
  const std::u16string text = u"Größe ÄÖ éÉ 1! Ωω жЖ 漢";
  for (const auto* layout : {"us", "fr", "de"}) {
    server.setLayout(layout);
    EXPECT_EQ(typed(client, text), toUtf8(text)) << layout;
    EXPECT_TRUE(test::eventually([&] { return (lockedModifiers() & 2) == 2; })) << layout;
  }
}

TEST_F(TypingTest, numLockChangesNothing) {
  TextXClient client(server.display());
  start();
  queue->sync([this] {
    events->postKey({71, KeyDirection::down});
    events->postKey({71, KeyDirection::up});
  });
  const std::u16string text = u"0123456789.,+-*/ aÄ漢";
  EXPECT_EQ(typed(client, text), toUtf8(text));
}

TEST_F(TypingTest, anotherLayoutGroupChangesNothing) {
  server.setLayout("us,ru,gr");
  TextXClient client(server.display());
  start();
  const std::u16string text = u"Hello, Привет! Γειά 漢字 ё";
  for (std::uint8_t group = 0; group < 3; ++group) {
    queue->sync([&] {
      auto* xcb = link->connection()->xcb();
      xcb_xkb_latch_lock_state(xcb, XCB_XKB_ID_USE_CORE_KBD, 0, 0, 1, group, 0, 0, 0);
      xcb_flush(xcb);
    });
    EXPECT_EQ(typed(client, text), toUtf8(text)) << "group " << int{group};
  }
}

TEST_F(TypingTest, aLayoutThatChangesBetweenTwoTextsIsNoticed) {
  TextXClient client(server.display());
  start();
  for (const auto* layout : {"us", "fr", "de", "ru", "us"}) {
    const std::u16string text = u"Zürich 漢 zyqwm";
    EXPECT_EQ(typed(client, text), toUtf8(text)) << "before " << layout;
    server.setLayout(layout);
    EXPECT_EQ(typed(client, text), toUtf8(text)) << layout;
  }
}

TEST_F(TypingTest, shortcutsAndClicksKeepTheirPlaceBehindText) {
  TextXClient client(server.display());
  start();
  const auto text = test::mixedText(300, 3);
  const auto once = toUtf8(text) + "1<1><4>";
  const auto expected = once + once + once;
  const auto typeAndClick = [&] {
    events->warpPointer({20, 20});
    for (int i = 0; i < 3; ++i) {
      post(text);
      events->postKey({18, KeyDirection::down});
      events->postKey({18, KeyDirection::up});
      events->postMouse({MouseEventType::leftDown, {}, 0, 1});
      events->postMouse({MouseEventType::leftUp, {}, 0, 1});
      events->postScroll({15, 0});
    }
  };
  EXPECT_EQ(whatArrives(client, expected, typeAndClick), expected);
}

TEST_F(TypingTest, theClipboardIsNotTouched) {
  TextXClient client(server.display());
  client.takeClipboard();
  start();
  const std::u16string text = u"漢字 Ж";
  EXPECT_EQ(typed(client, text), toUtf8(text));
  EXPECT_TRUE(client.ownsClipboard());
}

TEST_F(TypingTest, controlCharactersOtherThanLineFeedAndTabAreLeftOut) {
  TextXClient client(server.display());
  start();
  EXPECT_EQ(typed(client,
                  u"a\x1b\x07\x7f\x85"
                  u"b\r\nc\td"),
            "ab\rc\td");
}

TEST_F(TypingTest, whatIsNoCharacterIsLeftOut) {
  TextXClient client(server.display());
  start();
  client.clear();
  type(std::u16string{u'a', 0xd800, u'b', 0xdc00, u'c', 0xfffe, u'd'});
  EXPECT_EQ(client.textOf(4), "abcd");
}

/// Typing in virtual time.
class TypingOrderTest : public test::InputOnXvfb {
 protected:
  std::vector<int> borrowed() {
    settle();
    std::vector<int> result;
    for (const int key : unused)
      if (client->keysym(key) != 0) result.push_back(key);
    return result;
  }
  static std::u16string ideographs(int count) {
    std::u16string result;
    for (int i = 0; i < count; ++i) result.push_back(static_cast<char16_t>(0x4e00 + i));
    return result;
  }

  const std::vector<int> unused = client->unusedKeycodes();
};

TEST_F(TypingOrderTest, keyCodesAreGivenBackAfterASecondOfRest) {
  type(u"漢字");
  EXPECT_EQ(borrowed().size(), 2u);
  queue->advance(std::chrono::milliseconds(900));
  type(u"漢");
  EXPECT_EQ(borrowed().size(), 2u);
  queue->advance(std::chrono::milliseconds(999));
  EXPECT_EQ(borrowed().size(), 2u);
  queue->advance(std::chrono::milliseconds(1));
  EXPECT_THAT(borrowed(), testing::IsEmpty());
  EXPECT_EQ(client->unusedKeycodes(), unused);
}

TEST_F(TypingOrderTest, aRepeatedCharacterKeepsItsKeyCode) {
  for (int i = 0; i < 5; ++i) type(u"漢");
  const auto presses = all(Kind::keyPress);
  ASSERT_EQ(presses.size(), 5u);
  for (const auto& press : presses) EXPECT_EQ(press.detail, presses[0].detail);
}

TEST_F(TypingOrderTest, aKeyCodeRestsBeforeItCarriesAnotherCharacter) {
  const auto text = ideographs(static_cast<int>(unused.size()) + 1);
  type(text);
  queue->advance(std::chrono::milliseconds(79));
  EXPECT_EQ(all(Kind::keyPress).size(), unused.size());
  queue->advance(std::chrono::milliseconds(1));
  EXPECT_EQ(all(Kind::keyPress).size(), unused.size() + 1);
}

TEST_F(TypingOrderTest, motionPassesTextThatWaits) {
  client->placePointer(100, 100);
  type(ideographs(500));
  moveBy(5, 5);
  EXPECT_EQ(pointer(), std::pair(105, 105));
  EXPECT_LT(all(Kind::keyPress).size(), 500u);
}

TEST_F(TypingOrderTest, motionWaitsForAButtonThatWaits) {
  client->placePointer(100, 100);
  type(ideographs(500));
  events->postMouse({MouseEventType::leftDown, {}, 0, 1});
  moveBy(5, 5);
  moveBy(5, 5);
  EXPECT_EQ(pointer(), std::pair(100, 100));
  EXPECT_EQ(events->pointerLocation(), (PointerLocation{110, 110}));
  queue->advance(std::chrono::minutes(1));
  client->all();
  settle();
  const auto got = client->all();
  ASSERT_GE(got.size(), 2u);
  EXPECT_EQ(got[got.size() - 2].kind, Kind::buttonPress);
  EXPECT_EQ(got.back().kind, Kind::motion);
  EXPECT_EQ(pointer(), std::pair(110, 110));
  moveBy(1, 1);
  EXPECT_EQ(pointer(), std::pair(111, 111));
}

TEST_F(TypingOrderTest, nothingStaysBehindWhenItEndsInTheMiddleOfText) {
  stroke(57);  // Caps Lock
  type(ideographs(500));
  events->postMouse({MouseEventType::leftDown, {}, 0, 1});
  EXPECT_FALSE(borrowed().empty());
  events.reset();
  EXPECT_EQ(client->unusedKeycodes(), unused);
  EXPECT_THAT(client->keysDown(), testing::IsEmpty());
  EXPECT_EQ(client->state(), 2u);  // Caps Lock is as the user left it, and no button is down
  queue->advance(std::chrono::minutes(1));
}

TEST_F(TypingOrderTest, longTextLetsOtherWorkOfTheQueueRun) {
  type(std::u16string(1000, u'a'));
  EXPECT_LT(all(Kind::keyPress).size(), 1000u);
  queue->runPending();
  EXPECT_EQ(all(Kind::keyPress).size(), 1000u);
}

}  // namespace
}  // namespace tevanto
