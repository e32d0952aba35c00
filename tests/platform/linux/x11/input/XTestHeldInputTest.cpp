#include <gmock/gmock.h>

#include "tests/platform/linux/x11/input/InputOnXvfb.h"

namespace tevanto {
namespace {

using test::ChildProcess;
using test::InputOnXvfb;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr unsigned kLeftButtonDown = 0x100;

class XTestHeldInputTest : public InputOnXvfb {
 protected:
  XTestHeldInputTest() { events.reset(); }

  std::unique_ptr<ChildProcess> startHolder() {
    ChildProcess::Options options;
    options.environment = {{"DISPLAY", server.display()}};
    auto holder = std::make_unique<ChildProcess>(std::vector<std::string>{HOLD_INPUT}, options);
    EXPECT_EQ(holder->readLine(), "holding");
    return holder;
  }
};

TEST_F(XTestHeldInputTest, theNextRunReleasesWhatACrashLeftHeldDown) {
  const auto unused = client->unusedKeycodes();
  startHolder()->kill();
  ASSERT_THAT(client->keysDown(), ElementsAre(37, 64, 113));  // so the server does not do it by itself
  ASSERT_EQ(client->state() & kLeftButtonDown, kLeftButtonDown);
  ASSERT_NE(client->unusedKeycodes(), unused);
  events = open();
  settle();
  EXPECT_THAT(client->keysDown(), IsEmpty());
  EXPECT_EQ(client->state(), 0u);
  EXPECT_EQ(client->unusedKeycodes(), unused);
}

TEST_F(XTestHeldInputTest, everyRunInARowCleansUpAfterTheOneBefore) {
  for (int i = 0; i < 3; ++i) startHolder()->kill();
  events = open();
  settle();
  EXPECT_THAT(client->keysDown(), IsEmpty());
  EXPECT_EQ(client->state(), 0u);
}

TEST_F(XTestHeldInputTest, whatALivingCompanionHoldsStaysHeld) {
  auto first = startHolder();
  auto second = startHolder();
  events = open();
  settle();
  EXPECT_THAT(client->keysDown(), ElementsAre(37, 64, 113));
  EXPECT_EQ(client->state() & kLeftButtonDown, kLeftButtonDown);
  events.reset();
  first->kill();
  second->kill();
  events = open();
  settle();
  EXPECT_THAT(client->keysDown(), IsEmpty());
}

TEST_F(XTestHeldInputTest, anEndReleasesWhatIsHeld) {
  auto holder = startHolder();
  holder->write("\n");
  EXPECT_EQ(holder->wait(), 0);
  EXPECT_THAT(client->keysDown(), IsEmpty());
  EXPECT_EQ(client->state(), 0u);
}

class XServerComesAndGoesTest : public ::testing::Test {
 protected:
  bool clickWorks(test::RecordingXClient& client) {
    client.clear();
    return events->postMouse({MouseEventType::leftDown, {}, 0, 1}) &&
           events->postMouse({MouseEventType::leftUp, {}, 0, 1}) &&
           client.waitUntil([](const auto& got) { return got.size() == 2; });
  }
  void open(const std::string& display) {
    link = std::make_shared<ReconnectingXServer>(display, queue, Logger());
    permission = std::make_unique<XTestPermission>(link);
    events = XTestInputEvents::open(
        link, queue, [] { return CommandModifier::control; }, Logger());
  }

  std::shared_ptr<test::ManualQueue> queue = std::make_shared<test::ManualQueue>("main");
  std::shared_ptr<ReconnectingXServer> link;
  std::unique_ptr<XTestPermission> permission;
  std::shared_ptr<XTestInputEvents> events;
};

TEST_F(XServerComesAndGoesTest, startsWithoutAServerAndFindsItWhenItComes) {
  test::XvfbServer server;
  server.kill();
  open(server.display());
  EXPECT_FALSE(permission->isTrusted());
  EXPECT_FALSE(events->postKey({0, KeyDirection::down}));
  EXPECT_FALSE(events->postMouse({MouseEventType::moved, {1, 1}}));
  EXPECT_EQ(events->pointerLocation(), PointerLocation{});
  events->warpPointer({10, 10});
  server.restart();
  EXPECT_FALSE(permission->isTrusted());  // not asked again so soon
  queue->advance(ReconnectingXServer::kRetryAfter);
  EXPECT_TRUE(permission->isTrusted());
  test::RecordingXClient client(server.display());
  EXPECT_TRUE(clickWorks(client));
}

TEST_F(XServerComesAndGoesTest, aRequestLooksForTheServerAtOnce) {
  test::XvfbServer server;
  server.kill();
  open(server.display());
  EXPECT_FALSE(permission->isTrusted());
  server.restart();
  permission->request();
  EXPECT_TRUE(permission->isTrusted());
}

TEST_F(XServerComesAndGoesTest, survivesTheServersEndInTheMiddleOfEverything) {
  test::XvfbServer server;
  open(server.display());
  for (int round = 0; round < 3; ++round) {
    ASSERT_TRUE(permission->isTrusted());
    events->postMouse({MouseEventType::leftDown, {}, 0, 1});
    std::u16string text;
    for (int i = 0; i < 400; ++i) text.push_back(static_cast<char16_t>(0x4e00 + i));
    events->postKey({0, KeyDirection::down, 0, text});
    server.kill();
    for (int i = 0; i < 3; ++i) {
      events->postMouse({MouseEventType::leftUp, {}, 0, 1});
      events->postKey({0, KeyDirection::down});
      events->postScroll({100, 100});
      events->warpPointer({20.0 * i, 20});
      events->pointerLocation();
    }
    EXPECT_FALSE(permission->isTrusted());
    queue->advance(std::chrono::minutes(1));
    server.restart();
    queue->advance(ReconnectingXServer::kRetryAfter);
    ASSERT_TRUE(permission->isTrusted());
    test::RecordingXClient client(server.display());
    EXPECT_TRUE(clickWorks(client));
    EXPECT_EQ(client.state(), 0u);
  }
}

TEST_F(XServerComesAndGoesTest, aServerThatIsReplacedBetweenTwoEventsLosesNone) {
  test::XvfbServer server;
  open(server.display());
  ASSERT_TRUE(permission->isTrusted());
  server.restart();
  queue->advance(ReconnectingXServer::kRetryAfter);
  test::RecordingXClient client(server.display());
  ASSERT_TRUE(permission->isTrusted());
  EXPECT_TRUE(clickWorks(client));
}

}  // namespace
}  // namespace tevanto
