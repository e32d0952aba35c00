#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "control/MacInputController.h"
#include "control/MacShortcutRunner.h"
#include "core/queue/EventLoop.h"
#include "core/settings/DeviceIdentity.h"
#include "net/tcp/AsioTcpListenerFactory.h"
#include "remote/MacRemoteServer.h"
#include "remote/access/CompatibleAccess.h"
#include "remote/message/RemoteMessageCodec.h"
#include "tests/support/fakes/FakeAccessibilityPermission.h"
#include "tests/support/fakes/FakeScriptHost.h"
#include "tests/support/fakes/FakeServiceAdvertiser.h"
#include "tests/support/fakes/FakeUserDefaults.h"
#include "tests/support/fakes/FakeUserPreferences.h"
#include "tests/support/fakes/FakeWorkspace.h"
#include "tests/support/fakes/RecordingInputEvents.h"
#include "tests/support/peers/RawSocket.h"
#include "tests/support/programs/Eventually.h"
#include "tests/support/programs/ProcessMemory.h"

namespace tevanto {
namespace {

using test::RawSocket;

/// The server over real sockets, queues and threads; the system behind it is a fake.
class RemoteServerSocketTest : public testing::Test {
 protected:
  void SetUp() override {
    server_ = MacRemoteServer::create({.queue = queue_,
                                       .mainQueue = main_,
                                       .shortcutQueue = shortcut_,
                                       .backgroundQueue = background_,
                                       .listeners = listeners_,
                                       .advertiser = advertiser_,
                                       .defaults = defaults_,
                                       .access = std::make_shared<CompatibleAccess>(defaults_),
                                       .computerName = "Studio",
                                       .port = 0},
                                      {.input = input_, .shortcuts = shortcuts_, .permission = permission_});
    server_->start();
    ASSERT_TRUE(test::eventually([&] { return server_->port.get() != 0; }));
  }

  void TearDown() override {
    server_->stop();
    EXPECT_TRUE(test::eventually([&] { return server_->statusText.get() == "Stopped"; }));
    queue_->sync([&] { server_.reset(); });
  }

  RawSocket connect() { return RawSocket::connectTo(server_->port.get()); }
  bool waits() {
    return test::eventually([&] { return server_->statusText.get() == "Waiting for iPhone"; });
  }
  static std::string line(const RemoteMessage& message) {
    std::string text;
    EXPECT_TRUE(encodeRemoteMessage(message, text));
    return text + "\n";
  }

  std::shared_ptr<EventLoop> loop_ = EventLoop::background(1);
  std::shared_ptr<EventLoop> workers_ = EventLoop::background(2);
  std::shared_ptr<SerialQueue> queue_ = loop_->makeQueue("tevanto.remote.server");
  std::shared_ptr<SerialQueue> main_ = loop_->makeQueue("main");
  std::shared_ptr<SerialQueue> shortcut_ = workers_->makeQueue("tevanto.shortcuts");
  std::shared_ptr<SerialQueue> background_ = workers_->makeQueue("background");
  AsioTcpListenerFactory listeners_{loop_, ListenScope::loopback};
  test::FakeServiceAdvertiser advertiser_;
  test::FakeUserDefaults defaults_;
  test::RecordingInputEvents events_;
  test::FakeUserPreferences preferences_;
  test::FakeWorkspace workspace_;
  test::FakeScriptHost scripts_;
  test::FakeAccessibilityPermission permission_;
  std::shared_ptr<MacInputController> input_ =
      std::make_shared<MacInputController>(events_, events_, preferences_, workspace_);
  std::shared_ptr<MacShortcutRunner> shortcuts_ =
      std::make_shared<MacShortcutRunner>(main_, scripts_, workspace_, events_, permission_);
  std::shared_ptr<MacRemoteServer> server_;
};

TEST_F(RemoteServerSocketTest, pairsAPhoneAndMovesThePointer) {
  auto phone = connect();
  ASSERT_TRUE(phone.send(line({.type = "pairRequest", .code = server_->pairingCode.get()})));
  const auto accepted = decodeRemoteMessage(phone.receiveLine());
  ASSERT_TRUE(accepted);
  EXPECT_EQ(accepted->type, "pairAccepted");
  EXPECT_EQ(phone.receiveLine().find("{\"type\":\"capabilities\""), 0u);
  EXPECT_EQ(phone.receiveLine(), "{\"type\":\"systemState\"}");
  ASSERT_TRUE(phone.send(line({.type = "command",
                               .token = accepted->token,
                               .command = RemoteCommand{.type = "movePointer", .dx = 5, .dy = 6}})));
  EXPECT_EQ(phone.receiveLine(), "{\"type\":\"ack\",\"ok\":true}");
  main_->sync([&] { EXPECT_EQ(events_.pointer, (PointerLocation{5, 6})); });
}

/// Lines that no phone sends: noise, valid messages with bytes changed, nesting, wrong types, huge numbers.
std::string hostileLine(std::mt19937& random) {
  static const std::vector<std::string> seeds = {
      R"({"type":"command","token":"t","command":{"type":"movePointer","dx":1.5,"dy":-2.25}})",
      R"({"type":"command","command":{"type":"keyPress","key":"a","modifiers":["shift","command"]}})",
      R"({"type":"sessionHello","sessionNonce":"n","token":"t"})",
      R"({"type":"pairRequest","code":"000000x"})",
      R"({"type":"command","command":{"type":"insertText","text":"\ud83d\ude00"}})",
      R"({"type":"appList","apps":[{"name":"n","bundleId":"b","installedDate":1e300}]})"};
  const auto below = [&](std::size_t limit) { return random() % limit; };
  std::string made;
  switch (below(5)) {
    case 0:
      for (std::size_t i = below(300); i > 0; --i) made += static_cast<char>(below(256));
      break;
    case 1:
      made = std::string(below(10'000), "[{\"\\"[below(4)]);
      break;
    case 2:
      made =
          "{\"type\":\"command\",\"command\":{\"type\":\"click\",\"clicks\":" + std::string(below(400), '9') +
          "}}";
      break;
    case 3:
      made = seeds[below(seeds.size())].substr(below(40));
      break;
    default:
      made = seeds[below(seeds.size())];
      for (std::size_t i = 1 + below(6); i > 0; --i) made[below(made.size())] = static_cast<char>(below(256));
  }
  std::erase(made, '\n');
  return made + "\n";
}

TEST_F(RemoteServerSocketTest, survivesTenThousandHostileLines) {
  ASSERT_TRUE(defaults_.set(kPairingTokenKey, "the stored token").ok());
  auto phone = connect();
  std::mt19937 random(20'240'607);
  std::size_t heapBefore = 0;
  for (int i = 0; i < 10'000; ++i) {
    if (i == 1000) heapBefore = test::heapBytes();
    ASSERT_TRUE(phone.send(hostileLine(random)));
    if (i % 100 != 99) continue;
    // The reply to this one shows that all lines before it were taken, and leaves no reply unread.
    const auto nonce = std::to_string(i);
    ASSERT_TRUE(phone.send(line({.type = "sessionHello", .sessionNonce = nonce})));
    while (true) {
      const auto reply = decodeRemoteMessage(phone.receiveLine());
      ASSERT_TRUE(reply) << "the connection broke at line " << i;
      if (reply->sessionNonce == nonce) break;
    }
  }
  EXPECT_LT(test::heapBytes(), heapBefore + 1024 * 1024);
  main_->sync([&] { EXPECT_TRUE(events_.events.empty()); });
  EXPECT_EQ(defaults_.string(kPairingTokenKey), "the stored token");
  EXPECT_TRUE(server_->isClientConnected.get());
}

TEST_F(RemoteServerSocketTest, isAsBeforeAfterAThousandConnections) {
  std::ptrdiff_t descriptors = 0;
  std::size_t heap = 0;
  for (int i = 0; i < 1100; ++i) {
    if (i == 100) {  // by now everything that is made once has been made
      ASSERT_TRUE(waits());
      descriptors = test::openDescriptors();
      heap = test::heapBytes();
    }
    auto phone = connect();
    ASSERT_TRUE(phone.isOpen());
    ASSERT_TRUE(phone.send(line({.type = "sessionHello", .sessionNonce = "n"}) + "{\"type\":\"unfin"));
    if (i % 2 == 0) {
      ASSERT_FALSE(phone.receiveLine().empty());
    }
    if (i % 3 == 0) phone.reset();
    if (i % 3 == 1) phone.endStream();
  }
  ASSERT_TRUE(waits());
  EXPECT_TRUE(test::eventually([&] { return test::openDescriptors() == descriptors; }))
      << test::openDescriptors() << " instead of " << descriptors;
  EXPECT_TRUE(test::eventually([&] { return test::heapBytes() < heap + 64 * 1024; }))
      << test::heapBytes() << " instead of " << heap;
  EXPECT_FALSE(server_->isClientConnected.get());
}

TEST_F(RemoteServerSocketTest, closesAClientThatNeverReadsItsReplies) {
  auto phone = connect();
  const auto hello = line({.type = "sessionHello", .sessionNonce = std::string(3000, 'n')});
  const auto before = test::residentBytes();
  std::size_t sent = 0;
  constexpr std::size_t kFarTooMuch = 256 * 1024 * 1024;
  while (sent < kFarTooMuch && phone.send(hello)) sent += hello.size();
  EXPECT_LT(sent, kFarTooMuch) << "the server let go of it";
  EXPECT_GT(sent, TcpConnection::kMaxPendingBytes) << "but not before its replies piled up";
  EXPECT_LT(test::peakResidentBytes(), before + test::kResidentFactor * 64 * 1024 * 1024);
  EXPECT_TRUE(waits());
  auto next = connect();
  ASSERT_TRUE(next.send(line({.type = "sessionHello"})));
  EXPECT_NE(next.receiveLine(), "");
}

TEST_F(RemoteServerSocketTest, letsTheNewestOfManyPhonesWin) {
  std::vector<RawSocket> phones;
  for (int i = 0; i < 50; ++i) phones.push_back(connect());
  auto last = std::move(phones.back());
  phones.pop_back();
  for (const auto& phone : phones) EXPECT_TRUE(phone.waitForEnd());
  ASSERT_TRUE(last.send(line({.type = "sessionHello"})));
  EXPECT_EQ(decodeRemoteMessage(last.receiveLine())->type, "sessionRejected");
  EXPECT_TRUE(server_->isClientConnected.get());
}

}  // namespace
}  // namespace tevanto
