#include "phone/connection/LineSocket.h"

#include <gtest/gtest.h>

#include "tests/support/peers/ScriptedCompanion.h"

namespace tevanto::phone {
namespace {

using namespace std::chrono_literals;

LineSocket::Deadline generous() { return std::chrono::steady_clock::now() + 30s; }

RemoteMessage messageWith(std::string text) {
  RemoteMessage message;
  message.type = "ack";
  message.message = std::move(text);
  return message;
}

TEST(LineSocket, receivesLinesOneByOne) {
  test::ScriptedCompanion companion;
  companion.script()->answer = [](const RemoteMessage&) {
    return std::vector<RemoteMessage>{messageWith("1"), messageWith("2"), messageWith("3")};
  };
  auto socket = LineSocket::connect("127.0.0.1", companion.port(), generous());
  ASSERT_TRUE(socket) << socket.error();
  ASSERT_TRUE(socket.value()->send("{\"type\":\"x\"}\n", generous()));
  for (const auto* text : {"1", "2", "3"}) {
    std::string line;
    ASSERT_EQ(socket.value()->receive(line, generous()), LineSocket::Received::line);
    EXPECT_EQ(line, std::string("{\"type\":\"ack\",\"message\":\"") + text + "\"}");
  }
}

TEST(LineSocket, receivesALineLargerThanItsBuffer) {
  test::ScriptedCompanion companion;
  const std::string large(3'000'000, 'x');
  companion.script()->answer = [&](const RemoteMessage&) {
    return std::vector<RemoteMessage>{messageWith(large)};
  };
  auto socket = LineSocket::connect("127.0.0.1", companion.port(), generous());
  ASSERT_TRUE(socket);
  ASSERT_TRUE(socket.value()->send("{\"type\":\"x\"}\n", generous()));
  std::string line;
  ASSERT_EQ(socket.value()->receive(line, generous()), LineSocket::Received::line);
  EXPECT_EQ(line.size(), large.size() + std::string_view("{\"type\":\"ack\",\"message\":\"\"}").size());
}

TEST(LineSocket, saysWhenNothingCame) {
  test::ScriptedCompanion companion;
  auto socket = LineSocket::connect("127.0.0.1", companion.port(), generous());
  ASSERT_TRUE(socket);
  std::string line;
  EXPECT_EQ(socket.value()->receive(line, std::chrono::steady_clock::now()),
            LineSocket::Received::nothingYet);
}

TEST(LineSocket, saysWhenThePeerIsGone) {
  test::ScriptedCompanion companion;
  companion.script()->answer = [](const RemoteMessage&) {
    RemoteMessage close;
    close.type = "close";
    return std::vector<RemoteMessage>{messageWith("last"), close};
  };
  auto socket = LineSocket::connect("127.0.0.1", companion.port(), generous());
  ASSERT_TRUE(socket);
  ASSERT_TRUE(socket.value()->send("{\"type\":\"x\"}\n", generous()));
  std::string line;
  EXPECT_EQ(socket.value()->receive(line, generous()), LineSocket::Received::line);
  EXPECT_EQ(socket.value()->receive(line, generous()), LineSocket::Received::closed);
}

TEST(LineSocket, reachesIpv6) {
  test::ScriptedCompanion companion(test::ScriptedCompanion::Family::ipv6);
  EXPECT_TRUE(LineSocket::connect("::1", companion.port(), generous()));
}

TEST(LineSocket, saysWhyItCannotConnect) {
  const auto refused = LineSocket::connect("127.0.0.1", 1, generous());
  ASSERT_FALSE(refused);
  EXPECT_EQ(refused.error(), "Connection refused");
  EXPECT_FALSE(LineSocket::connect("no such host", 1, generous()));
}

}  // namespace
}  // namespace tevanto::phone
