// The program itself, as a process of its own.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <csignal>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/peers/ScriptedCompanion.h"
#include "tests/support/programs/ChildProcess.h"
#include "tests/support/programs/PseudoTerminal.h"
#include "tests/support/programs/TemporaryFolder.h"

extern char** environ;

namespace tevanto::phone {
namespace {

using testing::HasSubstr;

class PhoneProgramTest : public testing::Test {
 protected:
  test::ProgramResult run(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {TEVANTO_PHONE, "--host", companion_.host()});
    return test::runProgram(
        std::move(arguments),
        {.environment = {{"XDG_CONFIG_HOME", configuration_.path().string()}}, .mergeErrors = true});
  }
  /// Starts the touchpad on the terminal.
  pid_t startTouchpad() {
    ::setenv("XDG_CONFIG_HOME", configuration_.path().c_str(), 1);
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    for (int descriptor = 0; descriptor < 3; ++descriptor) {
      ::posix_spawn_file_actions_adddup2(&actions, terminal_.device(), descriptor);
    }
    std::string program = TEVANTO_PHONE, option = "--host", host = companion_.host(), name = "touchpad";
    std::vector<char*> arguments = {program.data(), option.data(), host.data(), name.data(), nullptr};
    pid_t pid = -1;
    EXPECT_EQ(::posix_spawn(&pid, program.c_str(), &actions, nullptr, arguments.data(), environ), 0);
    ::posix_spawn_file_actions_destroy(&actions);
    return pid;
  }
  static int statusOf(pid_t pid) {
    int status = 0;
    EXPECT_EQ(::waitpid(pid, &status, 0), pid);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  }

  test::ScriptedCompanion companion_;
  test::TemporaryFolder configuration_;
  test::PseudoTerminal terminal_;
};

TEST_F(PhoneProgramTest, pairsOnceAndIsKnownFromThenOn) {
  EXPECT_EQ(run({"mute"}).exitStatus, 4);
  const auto paired = run({"pair", "012345"});
  EXPECT_EQ(paired.exitStatus, 0) << paired.output;
  EXPECT_EQ(paired.output, "Paired with Desk.\n");
  EXPECT_EQ(run({"mute"}).exitStatus, 0);
  EXPECT_EQ(run({"state"}).exitStatus, 0);
}

TEST_F(PhoneProgramTest, doesNotCallWithoutTheEngine) {
  // The engine's module lies beside the folder of the program.
  const test::TemporaryFolder folder;
  std::filesystem::create_directory(folder / "bin");
  std::filesystem::copy_file(TEVANTO_PHONE, folder / "bin" / "tevanto-phone");
  const auto result = test::runProgram({(folder / "bin" / "tevanto-phone").string(), "--away",
                                        "9F1D7E52-6F0B-4C43-8C59-6E0E3C3E4D11", "--timeout", "3600", "hello"},
                                       {.environment = {{"XDG_CONFIG_HOME", configuration_.path().string()},
                                                        {"TEVANTO_RELAY_URLS", "ws://127.0.0.1:9"}},
                                        .mergeErrors = true});
  EXPECT_NE(result.exitStatus, 0);
  EXPECT_THAT(result.output, HasSubstr("A part of this program cannot be loaded: peers"));
}

TEST_F(PhoneProgramTest, keepsTheTokenToItself) {
  ASSERT_EQ(run({"pair", "012345"}).exitStatus, 0);
  const auto file = configuration_ / "tevanto" / "phone.json";
  struct stat status {};
  ASSERT_EQ(::stat(file.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0600u);
}

TEST_F(PhoneProgramTest, leavesWithTheExitStatusOfTheTrouble) {
  EXPECT_EQ(run({"dance"}).exitStatus, 2);
  EXPECT_EQ(run({"hello"}).exitStatus, 4);
  companion_.script()->answer = [](const RemoteMessage&) {
    RemoteMessage close;
    close.type = "close";
    return std::vector<RemoteMessage>{close};
  };
  EXPECT_EQ(run({"hello"}).exitStatus, 5);
  const auto nobody = test::runProgram(
      {TEVANTO_PHONE, "--host", "127.0.0.1:1", "hello"},
      {.environment = {{"XDG_CONFIG_HOME", configuration_.path().string()}}, .mergeErrors = true});
  EXPECT_EQ(nobody.exitStatus, 3);
  EXPECT_THAT(nobody.output, HasSubstr("No companion answers"));
}

TEST_F(PhoneProgramTest, restoresTheTerminalWhenASignalEndsTheTouchpad) {
  ASSERT_EQ(run({"pair", "012345"}).exitStatus, 0);
  for (const int signal : {SIGTERM, SIGINT, SIGHUP, SIGQUIT}) {
    const auto pid = startTouchpad();
    ASSERT_TRUE(terminal_.waitFor("q quit"));
    EXPECT_FALSE(terminal_.isCooked());
    ASSERT_EQ(::kill(pid, signal), 0);
    EXPECT_EQ(statusOf(pid), 1) << signal;
    EXPECT_TRUE(terminal_.isCooked()) << signal;
    EXPECT_TRUE(terminal_.waitFor("\x1b[?1049l")) << signal;
    terminal_.forget();
  }
}

}  // namespace
}  // namespace tevanto::phone
