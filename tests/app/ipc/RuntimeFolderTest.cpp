#include "app/ipc/RuntimeFolder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>

#include "app/ipc/CompanionLock.h"
#include "tests/support/programs/ChildProcess.h"
#include "tests/support/programs/TemporaryFolder.h"

namespace tevanto {
namespace {

class RuntimeFolder : public ::testing::Test {
 protected:
  RuntimeFolder() { ::setenv("XDG_RUNTIME_DIR", session_.path().c_str(), 1); }
  ~RuntimeFolder() override { ::unsetenv("XDG_RUNTIME_DIR"); }

  std::filesystem::path fallback() const { return parent_ / ("tevanto-" + std::to_string(::geteuid())); }
  Result<std::filesystem::path> folder() const { return runtimeFolder(parent_.path()); }

  test::TemporaryFolder session_;
  test::TemporaryFolder parent_;
};

mode_t modeOf(const std::filesystem::path& path) {
  struct stat info {};
  EXPECT_EQ(::stat(path.c_str(), &info), 0);
  return info.st_mode & 07777;
}

TEST_F(RuntimeFolder, isThePrivateFolderOfTheSession) {
  ASSERT_TRUE(folder());
  EXPECT_EQ(folder().value(), session_ / "tevanto");
  EXPECT_EQ(modeOf(folder().value()), 0700U);
  EXPECT_TRUE(folder()) << "a folder that is there already serves too";
}

TEST_F(RuntimeFolder, fallsBackWithoutASessionFolder) {
  ::unsetenv("XDG_RUNTIME_DIR");
  ASSERT_TRUE(folder());
  EXPECT_EQ(folder().value(), fallback());
  EXPECT_EQ(modeOf(fallback()), 0700U);
}

TEST_F(RuntimeFolder, fallsBackFromAFolderThatIsNoneOfOurs) {
  for (const std::string unusable : {"relative", "/nowhere/at/all", "/tmp"}) {
    ::setenv("XDG_RUNTIME_DIR", unusable.c_str(), 1);
    ASSERT_TRUE(folder()) << unusable;
    EXPECT_EQ(folder().value(), fallback()) << unusable;
  }
}

TEST_F(RuntimeFolder, refusesAFolderThatOthersMayEnter) {
  std::filesystem::create_directory(session_ / "tevanto");
  ::chmod((session_ / "tevanto").c_str(), 0755);
  EXPECT_FALSE(folder());
}

TEST_F(RuntimeFolder, refusesALink) {
  std::filesystem::create_directory_symlink(parent_.path(), session_ / "tevanto");
  EXPECT_FALSE(folder());
}

TEST_F(RuntimeFolder, refusesAFolderOfAnotherUser) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can give a folder away";
  std::filesystem::create_directory(session_ / "tevanto");
  ::chmod((session_ / "tevanto").c_str(), 0700);
  ASSERT_EQ(::chown((session_ / "tevanto").c_str(), 65534, 65534), 0);
  EXPECT_FALSE(folder());
}

TEST(CompanionLock, isHeldByOneAtATime) {
  const test::TemporaryFolder folder;
  auto first = CompanionLock::tryAcquire(folder.path());
  ASSERT_TRUE(first);
  ASSERT_NE(first.value(), nullptr);
  EXPECT_EQ(CompanionLock::holder(folder.path()), ::getpid());

  const auto second = CompanionLock::tryAcquire(folder.path());
  ASSERT_TRUE(second);
  EXPECT_EQ(second.value(), nullptr);

  first.value().reset();
  const auto third = CompanionLock::tryAcquire(folder.path());
  ASSERT_TRUE(third);
  EXPECT_NE(third.value(), nullptr);
}

TEST(CompanionLock, isNotInheritedByProgramsThatAreStartedMeanwhile) {
  const test::TemporaryFolder folder;
  auto lock = CompanionLock::tryAcquire(folder.path());
  ASSERT_TRUE(lock && lock.value());
  test::ChildProcess child({"cat"});
  child.write("\n");
  ASSERT_TRUE(child.readLine()) << "from then on it is cat, not a copy of this process";
  lock.value().reset();
  const auto again = CompanionLock::tryAcquire(folder.path());
  ASSERT_TRUE(again);
  EXPECT_NE(again.value(), nullptr);
}

TEST(CompanionLock, saysWhyItCannotBeTaken) {
  const auto lock = CompanionLock::tryAcquire("/nowhere/at/all");
  ASSERT_FALSE(lock);
  EXPECT_NE(lock.error().find("/nowhere/at/all/companion.lock"), std::string::npos);
}

}  // namespace
}  // namespace tevanto
