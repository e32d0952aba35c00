#include "core/settings/DurableFile.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "core/Descriptor.h"
#include "core/settings/FileSystem.h"
#include "tests/support/fakes/RecordingFileSystem.h"
#include "tests/support/programs/TemporaryFolder.h"
#include "tests/support/programs/TestFiles.h"

namespace tevanto {
namespace {

namespace fs = std::filesystem;
using test::contentOf;
using test::fill;
using test::modeOf;
using Kind = test::RecordingFileSystem::Kind;
using Kinds = std::vector<Kind>;

class DurableFile : public ::testing::Test {
 protected:
  std::set<std::string> namesInFolder() const {
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder_.path())) names.insert(entry.path().filename());
    return names;
  }

  test::TemporaryFolder folder_;
  test::RecordingFileSystem files_;
  const fs::path file_ = folder_ / "settings";
};

TEST_F(DurableFile, syncsTheBytesBeforeTheNameAndTheNameBeforeItReports) {
  fill(file_, "old");
  ASSERT_TRUE(replaceDurably(files_, file_, "new").ok());
  ASSERT_EQ(files_.kinds(), (Kinds{Kind::create, Kind::write, Kind::sync, Kind::rename, Kind::syncFolder}));
  EXPECT_EQ(files_.steps[3].target, file_);
  EXPECT_EQ(files_.steps[4].path, folder_.path());
  EXPECT_EQ(contentOf(file_), "new");
}

TEST_F(DurableFile, isOfTheOwnerOnlyWhateverTheOldOneWasAndTheMaskIs) {
  fill(file_, "old");
  fs::permissions(file_, fs::perms::all);
  const mode_t before = ::umask(0);
  ASSERT_TRUE(replaceDurably(files_, file_, "new").ok());
  ::umask(before);
  EXPECT_EQ(modeOf(file_), 0600);
}

TEST_F(DurableFile, removesWhatAWriterThatDiedLeft) {
  fill(file_.string() + ".new", "half of som");
  ASSERT_TRUE(replaceDurably(files_, file_, "new").ok());
  EXPECT_EQ(contentOf(file_), "new");
  EXPECT_EQ(namesInFolder(), std::set<std::string>{"settings"});
}

TEST_F(DurableFile, neverWritesThroughALinkThatWasPutInItsWay) {
  fill(folder_ / "victim", "untouched");
  fs::create_symlink(folder_ / "victim", file_.string() + ".new");
  ASSERT_TRUE(replaceDurably(files_, file_, "new").ok());
  EXPECT_EQ(contentOf(folder_ / "victim"), "untouched");
  EXPECT_EQ(contentOf(file_), "new");
}

struct Fault {
  Kind kind;
  int code;
  const char* says;
};

class DurableFileFault : public DurableFile, public ::testing::WithParamInterface<Fault> {};

TEST_P(DurableFileFault, keepsTheOldContentAndSaysWhy) {
  fill(file_, "old");
  files_.fault = [](Kind kind, const fs::path&) {
    return kind == GetParam().kind ? std::error_code(GetParam().code, std::generic_category())
                                   : std::error_code();
  };
  const auto done = replaceDurably(files_, file_, "new");
  ASSERT_FALSE(done.ok());
  EXPECT_NE(done.error().find(GetParam().says), std::string::npos) << done.error();
  EXPECT_NE(done.error().find("settings"), std::string::npos) << "names the file: " << done.error();
  EXPECT_EQ(contentOf(file_), "old");
  EXPECT_EQ(namesInFolder(), std::set<std::string>{"settings"}) << "leaves nothing behind";
}

INSTANTIATE_TEST_SUITE_P(Steps, DurableFileFault,
                         ::testing::Values(Fault{Kind::create, EROFS, "Read-only file system"},
                                           Fault{Kind::create, EACCES, "Permission denied"},
                                           Fault{Kind::write, ENOSPC, "No space left on device"},
                                           Fault{Kind::sync, EIO, "Input/output error"},
                                           Fault{Kind::rename, EDQUOT, "Disk quota exceeded"}));

TEST_F(DurableFile, reportsANameThatDidNotReachTheDisk) {
  files_.fault = [](Kind kind, const fs::path&) {
    return kind == Kind::syncFolder ? std::make_error_code(std::errc::io_error) : std::error_code();
  };
  const auto done = replaceDurably(files_, file_, "new");
  ASSERT_FALSE(done.ok());
  EXPECT_NE(done.error().find("Input/output error"), std::string::npos);
}

TEST_F(DurableFile, aFullDiskIsReportedByTheRealThing) {
  if (!fs::exists("/dev/full")) GTEST_SKIP() << "no /dev/full here";
  const Descriptor full(::open("/dev/full", O_WRONLY | O_CLOEXEC));
  ASSERT_TRUE(full);
  EXPECT_EQ(FileSystem::real()->write(full.get(), "text"), std::errc::no_space_on_device);
}

TEST_F(DurableFile, makesEachMissingFolderPrivateAndDurable) {
  const auto inner = folder_ / "a" / "b";
  ASSERT_TRUE(makeDurableFolder(files_, inner).ok());
  EXPECT_EQ(modeOf(folder_ / "a"), 0700);
  EXPECT_EQ(modeOf(inner), 0700);
  ASSERT_EQ(files_.kinds(), (Kinds{Kind::makeFolder, Kind::syncFolder, Kind::makeFolder, Kind::syncFolder}));
  EXPECT_EQ(files_.steps[1].path, folder_.path());
  EXPECT_EQ(files_.steps[3].path, folder_ / "a");

  files_.steps.clear();
  ASSERT_TRUE(makeDurableFolder(files_, inner).ok());
  EXPECT_TRUE(files_.steps.empty()) << "what is there is left as it is";
}

TEST_F(DurableFile, saysWhyAFolderCannotBeMade) {
  fill(folder_ / "file", "");
  const auto made = makeDurableFolder(files_, folder_ / "file" / "inner");
  ASSERT_FALSE(made.ok());
  EXPECT_NE(made.error().find("Not a directory"), std::string::npos) << made.error();
}

}  // namespace
}  // namespace tevanto
