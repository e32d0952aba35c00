#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>

#include "tests/support/companion/CompanionProcess.h"
#include "tests/support/peers/RawSocket.h"
#include "tests/support/programs/Eventually.h"

namespace tevanto::test {
namespace {

std::size_t descriptorsOf(pid_t pid) {
  const std::filesystem::directory_iterator entries("/proc/" + std::to_string(pid) + "/fd");
  return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
}

/// Resident memory in KiB.
long residentOf(pid_t pid) {
  std::ifstream status("/proc/" + std::to_string(pid) + "/status");
  for (std::string line; std::getline(status, line);) {
    if (line.rfind("VmRSS:", 0) == 0) return std::stol(line.substr(6));
  }
  return 0;
}

/// Its exit status when it is asked to end.
int endOf(CompanionProcess& companion) {
  companion.process().signal(SIGTERM);
  return companion.process().wait();
}

/// A line that is broken in one of the ways in which lines are broken.
std::string hostileLine(std::mt19937& random) {
  static const std::string valid =
      R"({"type":"command","token":"none","command":{"type":"insertText","text":"x","modifiers":["shift"],"dx":1}})";
  std::string line = valid;
  const auto at = [&] { return random() % line.size(); };
  switch (random() % 8) {
    case 0:
      return std::string(20000, '[');
    case 1:
      return std::string(1 + random() % 500, static_cast<char>(random() % 256));
    case 2:
      return line.substr(0, at());
    case 3:
      return "{\"type\":" + std::to_string(random()) + "e" + std::to_string(random() % 1000) + "}";
    case 4:
      return R"({"type":"pairRequest","code":")" + std::to_string(random() % 1000000) + R"(x"})";
    case 5:
      return R"({"type":"sessionHello","token":{"type":"sessionHello"}})";
    case 6:
      line[at()] = static_cast<char>(random() % 256);
      break;
    default:
      line.insert(at(), std::string(random() % 64, static_cast<char>(random() % 256)));
      break;
  }
  std::replace(line.begin(), line.end(), '\n', ' ');
  return line;
}

TEST(HostilePeers, tenThousandBrokenLinesChangeNothing) {
  CompanionDesktop desktop;
  // A token, so that no line of these can be a command that passes.
  ASSERT_EQ(desktop.run(TEVANTO_PROGRAM, {"defaults", "set", "remotePairingToken", "a token"}).exitStatus, 0);
  CompanionProcess companion(desktop, TEVANTO_PROGRAM);
  const auto code = companion.status()->pairingCode;
  auto phone = RawSocket::connectTo(companion.port());
  std::mt19937 random(1);
  for (int i = 0; i < 10'000; ++i) {
    ASSERT_TRUE(phone.send(hostileLine(random) + "\n")) << "line " << i;
  }
  // What comes behind them is still answered, so all of them have been read.
  ASSERT_TRUE(phone.send("{\"type\":\"pairRequest\",\"code\":\"" + code + "\"}\n"));
  std::string line;
  do {
    line = phone.receiveLine();
    ASSERT_FALSE(line.empty()) << "the connection ended";
  } while (line.find("pairAccepted") == std::string::npos);
  EXPECT_EQ(endOf(companion), 0);
}

TEST(HostilePeers, aThousandConnectionsThatComeAndGoLeaveNothingBehind) {
  CompanionDesktop desktop;
  CompanionProcess companion(desktop, TEVANTO_PROGRAM);
  const auto visit = [&](int i) {
    auto phone = RawSocket::connectTo(companion.port(), i % 2 == 1);
    ASSERT_TRUE(phone.isOpen());
    phone.send("{\"type\":\"sessionHello\",\"sessionNonce\":\"n\"}\n{\"type\":");
    if (i % 3 == 0) phone.receiveLine();
    if (i % 5 == 0) phone.reset();
  };
  const auto settled = [&] { return !companion.status()->isClientConnected; };
  for (int i = 0; i < 100; ++i) visit(i);
  ASSERT_TRUE(eventually(settled));
  const auto descriptors = descriptorsOf(companion.process().pid());
  const auto resident = residentOf(companion.process().pid());
  for (int i = 0; i < 1000; ++i) visit(i);
  EXPECT_TRUE(eventually([&] {
    return settled() && descriptorsOf(companion.process().pid()) <= descriptors;
  })) << descriptorsOf(companion.process().pid())
      << " descriptors, " << descriptors << " before";
  EXPECT_LE(residentOf(companion.process().pid()), resident + 1024) << "KiB";
  EXPECT_EQ(endOf(companion), 0);
}

}  // namespace
}  // namespace tevanto::test
