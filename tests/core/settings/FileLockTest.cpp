#include "core/settings/FileLock.h"

#include <gtest/gtest.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/support/programs/TemporaryFolder.h"
#include "tests/support/programs/TestFiles.h"

namespace tevanto {
namespace {

using test::contentOf;
using test::fill;
using test::modeOf;

TEST(FileLock, keepsOtherThreadsAndOtherProcessesOut) {
  const test::TemporaryFolder folder;
  auto lock = FileLock::acquire(folder / "lock");
  ASSERT_TRUE(lock.ok());
  EXPECT_EQ(modeOf(folder / "lock"), 0600);
  // Processes that each read a number, wait for the scheduler's pleasure and write it back raised by one.
  constexpr int kWriters = 4;
  constexpr int kRounds = 50;
  fill(folder / "number", "0");
  std::vector<pid_t> writers;
  for (int i = 0; i < kWriters; ++i) {
    const pid_t pid = ::fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {
      { const auto inherited = std::move(lock); }  // the parent's copy stays locked
      for (int n = 0; n < kRounds; ++n) {
        const auto own = FileLock::acquire(folder / "lock");
        if (!own) ::_exit(1);
        const int number = std::stoi(contentOf(folder / "number"));
        std::this_thread::yield();
        fill(folder / "number", std::to_string(number + 1));
      }
      ::_exit(0);
    }
    writers.push_back(pid);
  }
  EXPECT_EQ(contentOf(folder / "number"), "0") << "nobody gets in while the lock is held";
  { const auto given = std::move(lock); }
  for (const pid_t pid : writers) {
    int status = -1;
    ::waitpid(pid, &status, 0);
    EXPECT_EQ(status, 0);
  }
  EXPECT_EQ(contentOf(folder / "number"), std::to_string(kWriters * kRounds));
}

}  // namespace
}  // namespace tevanto
