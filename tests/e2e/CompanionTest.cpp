#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "tests/e2e/Programs.h"
#include "tests/support/companion/CompanionProcess.h"
#include "tests/support/desktop/AvahiDaemon.h"
#include "tests/support/desktop/DBusMock.h"
#include "tests/support/desktop/PulseServer.h"
#include "tests/support/peers/RawSocket.h"
#include "tests/support/programs/Eventually.h"
#include "tests/support/programs/PseudoTerminal.h"

// The real program, from outside: its command line, its signals, its sockets, and the desktop that it acts
// on.
namespace tevanto {

using test::kProgram;
namespace {

using test::CompanionDesktop;
using test::CompanionProcess;
using test::eventually;
using ::testing::HasSubstr;

class Companion : public ::testing::Test {
 protected:
  CompanionProcess start() { return {desktop, kProgram}; }
  test::ProgramResult tevanto(std::vector<std::string> arguments) const {
    return desktop.run(kProgram, std::move(arguments));
  }

  CompanionDesktop desktop;
};

/// Pairs as a phone does; the token, or nothing.
std::string pairOver(const test::RawSocket& socket, const std::string& code) {
  socket.send(R"({"type":"pairRequest","code":")" + code + "\"}\n");
  std::string received;
  while (received.find("\"pairAccepted\"") == std::string::npos || received.back() != '\n') {
    const auto more = socket.receiveSome();
    if (more.empty()) return {};
    received += more;
  }
  const std::string member = R"("token":")";
  const auto at = received.find(member);
  return at == std::string::npos ? "" : received.substr(at + member.size(), 36);
}

TEST_F(Companion, tellsItsStatus) {
  const auto companion = start();
  const auto result = tevanto({"status", "--json"});
  EXPECT_EQ(result.exitStatus, 0);
  const auto status = decodeCompanionStatus(result.output);
  ASSERT_TRUE(status) << result.output;
  EXPECT_EQ(status->pairingCode.size(), 6U);
  EXPECT_EQ(status->statusText, "Waiting for iPhone");
  EXPECT_EQ(status->deviceID.size(), 36U);
  EXPECT_EQ(status->remotePort, companion.port());
  EXPECT_TRUE(status->isAccessibilityTrusted);
  EXPECT_FALSE(status->keepAwakeOn);
  EXPECT_EQ(status->keepAwakeStatusText, "Keep Awake off");
  EXPECT_EQ(status->launchAtLoginStatusText, "Install in Applications");
  EXPECT_THAT(tevanto({"status"}).output, HasSubstr("Pairing code:    " + status->pairingCode));
}

TEST_F(Companion, commandsSayThatNoneRuns) {
  for (const auto& arguments :
       {std::vector<std::string>{"status"}, {"status", "--json"}, {"keep-awake", "on"}}) {
    const auto result = tevanto(arguments);
    EXPECT_EQ(result.exitStatus, 3);
    EXPECT_EQ(result.output, "tevanto: No companion runs; start it with: tevanto\n");
  }
}

TEST_F(Companion, aSecondStartHandsOver) {
  auto companion = start();
  const auto second = tevanto({});
  EXPECT_EQ(second.exitStatus, 0);
  EXPECT_THAT(second.output,
              HasSubstr("Tevanto runs already, as process " + std::to_string(companion.process().pid())));
  EXPECT_TRUE(companion.process().isRunning());
  const auto code = companion.status()->pairingCode;
  companion.process().terminate();
  const auto output = companion.process().readAll();
  const auto panel = output.find("Pairing code: " + code);
  ASSERT_NE(panel, std::string::npos) << output;
  EXPECT_NE(output.find("Pairing code: " + code, panel + 1), std::string::npos)
      << "it shows itself again when it is asked to:\n"
      << output;
}

TEST_F(Companion, ofManyStartsAtOnceOneRuns) {
  std::vector<std::unique_ptr<test::ChildProcess>> started;
  for (int i = 0; i < 5; ++i) {
    started.push_back(std::make_unique<test::ChildProcess>(
        std::vector<std::string>{kProgram, "--headless", "--remote-port", "0", "--loopback-only"},
        test::ChildProcess::Options{.environment = desktop.environment, .mergeErrors = true}));
  }
  const auto running = [&] {
    int count = 0;
    for (const auto& each : started) count += each->isRunning() ? 1 : 0;
    return count;
  };
  ASSERT_TRUE(eventually([&] { return running() == 1; }));
  EXPECT_EQ(tevanto({"status"}).exitStatus, 0);
  for (const auto& each : started) {
    if (each->isRunning()) continue;
    EXPECT_EQ(each->wait(), 0) << each->readAll();
  }
}

TEST_F(Companion, endsCleanlyWhenItIsAskedTo) {
  for (const int number : {SIGTERM, SIGINT}) {
    auto companion = start();
    companion.process().signal(number);
    EXPECT_EQ(companion.process().wait(), 0);
    EXPECT_FALSE(std::filesystem::exists(desktop.ipcSocket()));
  }
}

TEST_F(Companion, startsAgainAfterACrash) {
  {
    auto companion = start();
    companion.process().kill();
  }
  EXPECT_TRUE(std::filesystem::exists(desktop.ipcSocket())) << "the crash left it behind";
  EXPECT_EQ(tevanto({"status"}).exitStatus, 3);
  const auto again = start();
  EXPECT_EQ(tevanto({"status"}).exitStatus, 0);
}

TEST_F(Companion, aChangedSettingReachesTheOneThatRuns) {
  const auto companion = start();
  EXPECT_FALSE(companion.status()->isPaired);
  EXPECT_EQ(tevanto({"defaults", "set", "remotePairingToken", "a token"}).exitStatus, 0);
  EXPECT_TRUE(companion.status()->isPaired);
  EXPECT_EQ(tevanto({"defaults", "get", "remotePairingToken"}).output, "a token\n");
  EXPECT_THAT(tevanto({"defaults", "list"}).output, ::testing::Not(HasSubstr("a token"))) << "it is a secret";
  EXPECT_EQ(tevanto({"defaults", "remove", "remotePairingToken"}).exitStatus, 0);
  EXPECT_FALSE(companion.status()->isPaired);
  EXPECT_EQ(tevanto({"defaults", "get", "remotePairingToken"}).exitStatus, 1);
  EXPECT_EQ(tevanto({"defaults", "set", "a", "b", "--type", "int"}).exitStatus, 2);
}

TEST_F(Companion, readsItsSettingsAgainOnAHangUp) {
  auto companion = start();
  auto file = desktop.configFolder() / "tevanto" / "defaults.json";
  ASSERT_TRUE(std::filesystem::exists(file));
  {
    CompanionDesktop elsewhere;  // so that nobody tells the companion
    std::filesystem::create_directories(elsewhere.configFolder() / "tevanto");
    std::filesystem::copy_file(file, elsewhere.configFolder() / "tevanto" / "defaults.json");
    ASSERT_EQ(elsewhere.run(kProgram, {"defaults", "set", "remotePairingToken", "t"}).exitStatus, 0);
    std::filesystem::copy_file(elsewhere.configFolder() / "tevanto" / "defaults.json", file,
                               std::filesystem::copy_options::overwrite_existing);
  }
  EXPECT_FALSE(companion.status()->isPaired);
  companion.process().signal(SIGHUP);
  EXPECT_TRUE(eventually([&] { return companion.status()->isPaired; }));
}

TEST_F(Companion, endsWithTheTerminalThatItWasStartedIn) {
  test::PseudoTerminal terminal;
  test::ChildProcess companion(
      {"sh", "-c",
       "exec setsid --ctty " + kProgram + " --headless --remote-port 0 --loopback-only <" +
           terminal.deviceName() + " >" + terminal.deviceName()},
      {.environment = desktop.environment});
  ASSERT_TRUE(terminal.waitFor("PAIRING CODE")) << terminal.screen();
  companion.signal(SIGHUP);
  EXPECT_EQ(tevanto({"status"}).exitStatus, 0) << "the terminal is still there";
  terminal.hangUp();
  EXPECT_EQ(companion.wait(), 0);
}

TEST_F(Companion, aPhonePairsAndMovesThePointer) {
  const auto companion = start();
  const auto code = companion.status()->pairingCode;
  const auto socket = test::RawSocket::connectTo(companion.port());
  ASSERT_TRUE(socket.isOpen());
  const auto token = pairOver(socket, code);
  ASSERT_EQ(token.size(), 36U);
  EXPECT_TRUE(eventually([&] { return companion.status()->pairingCode != code; }));
  EXPECT_TRUE(companion.status()->isPaired);
  EXPECT_TRUE(companion.status()->isClientConnected);

  const auto [x, y] = desktop.pointer();
  ASSERT_TRUE(socket.send(R"({"type":"command","token":")" + token +
                          R"(","command":{"type":"movePointer","dx":25,"dy":-10}})" + "\n"));
  const std::pair wanted(x + 25, y - 10);
  EXPECT_TRUE(eventually([&] { return desktop.pointer() == wanted; }));
}

// The desktop is asked beside the main queue. It hangs until the pointer has moved; had the pointer waited
// for it, the question would have been given up by then. On a machine so slow that this happens all the same,
// the next attempt tells.
TEST_F(Companion, aDesktopThatHangsHoldsUpNoPointer) {
  constexpr auto* kShell = "org.gnome.Shell";
  constexpr int kAttempts = 5;
  constexpr auto kLongerThanAnyQuestion = std::chrono::seconds(5);
  test::DBusMock shell(desktop.bus(), kShell, "/org/gnome/Shell", kShell);
  shell.addProperties(kShell, "{'OverviewActive': <false>}");
  desktop.environment.emplace_back("XDG_CURRENT_DESKTOP", "GNOME");
  const auto companion = start();
  const auto socket = test::RawSocket::connectTo(companion.port());
  const auto token = pairOver(socket, companion.status()->pairingCode);
  const auto command = [&](const std::string& members) {
    return R"({"type":"command","token":")" + token + R"(","command":{)" + members + "}}\n";
  };
  const auto isActive = [&] {
    const auto active = shell.call("org.freedesktop.DBus.Properties.Get", {kShell, "OverviewActive"});
    return active.find("true") != std::string::npos;
  };

  bool shown = false;
  for (int attempt = 0; attempt < kAttempts && !shown; ++attempt) {
    const auto [x, y] = desktop.pointer();
    const std::pair wanted(x + 3, y + 2);
    shell.hang();
    ASSERT_TRUE(socket.send(command(R"("type":"systemGesture","gesture":"missionControl")") +
                            command(R"("type":"movePointer","dx":3,"dy":2)")));
    EXPECT_TRUE(eventually([&] { return desktop.pointer() == wanted; }));
    shell.resume();
    shown = eventually(isActive, kLongerThanAnyQuestion);
  }
  EXPECT_TRUE(shown);
}

TEST_F(Companion, givesTheSleepInhibitorBackWhenItEnds) {
  const auto logind = test::DBusMock::ofTemplate(desktop.bus(), "logind");
  auto companion = start();
  EXPECT_EQ(tevanto({"keep-awake", "on"}).output, "Keeps running after screen lock\n");
  EXPECT_TRUE(companion.status()->keepAwakeOn);
  const auto held = [&] { return logind->call("org.freedesktop.login1.Manager.ListInhibitors"); };
  EXPECT_THAT(held(), HasSubstr("Tevanto"));
  companion.process().terminate();
  EXPECT_TRUE(eventually([&] { return held().find("Tevanto") == std::string::npos; })) << held();
}

TEST_F(Companion, keepAwakeSaysWhyItFailed) {
  const auto companion = start();
  const auto result = tevanto({"keep-awake", "on"});
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_THAT(result.output, HasSubstr("tevanto: Couldn't enable Keep Awake ("));
}

TEST_F(Companion, theDoctorFindsNothingOnAFullDesktop) {
  const test::PulseServer pulse;
  const test::AvahiDaemon avahi(desktop.bus());
  const auto logind = test::DBusMock::ofTemplate(desktop.bus(), "logind");
  desktop.environment.emplace_back("PULSE_SERVER", pulse.address());
  const auto companion = start();
  const auto port = std::to_string(companion.port());
  const auto result = tevanto({"doctor", "--remote-port", port, "--screen-port", "0"});
  EXPECT_EQ(result.exitStatus, 0) << result.output;
  for (const auto* found : {"a pointer event arrived", "a picture of 1280 x 800 was captured", "libx264",
                            "advertised and resolved", "the volume is ", "taken and given back",
                            "our running companion's", "can be written"}) {
    EXPECT_THAT(result.output, HasSubstr(found));
  }
}

TEST_F(Companion, theDoctorNamesARemedyForWhatIsMissing) {
  std::filesystem::remove_all(desktop.configFolder());
  std::ofstream(desktop.configFolder()) << "a file where a folder should be";
  const auto taken = start();
  desktop.environment.emplace_back("DISPLAY", ":no");
  desktop.environment.emplace_back("XDG_RUNTIME_DIR", "/nowhere");
  const auto result =
      tevanto({"doctor", "--remote-port", std::to_string(taken.port()), "--screen-port", "0"});
  EXPECT_EQ(result.exitStatus, 1);
  EXPECT_EQ(result.output.find("ok      pointer"), std::string::npos);
  for (const auto* remedy :
       {"run this in a graphical X11 session", "start the Avahi daemon", "start PulseAudio or PipeWire",
        "keep-awake needs logind", "choose another port with --remote-port", "make the folder writable"}) {
    EXPECT_THAT(result.output, HasSubstr(remedy));
  }
}

}  // namespace
}  // namespace tevanto
