// What is left of the settings when the computer or the process ends at any moment of a write.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "core/settings/JsonUserDefaults.h"
#include "tests/support/fakes/RecordingFileSystem.h"
#include "tests/support/fakes/RecordingLogSink.h"
#include "tests/support/programs/TemporaryFolder.h"

namespace tevanto {
namespace {

namespace fs = std::filesystem;
using Kind = test::RecordingFileSystem::Kind;
using Step = test::RecordingFileSystem::Step;

/// A disk that has promised nothing but what POSIX says: bytes are on it after the sync of their file, names
/// after the sync of their folder. Everything else may have reached it or not, each name for itself, bytes up
/// to any length.
class PowerCut {
 public:
  using Tree = std::map<fs::path, std::optional<std::string>>;  // no content: a folder

  explicit PowerCut(const Tree& before) {
    for (const auto& [path, content] : before) {
      names_[path] = {add(content.value_or(""), true, !content)};
    }
  }

  void apply(const Step& step) {
    switch (step.kind) {
      case Kind::makeFolder:
        rename(step.path, add("", true, true));
        break;
      case Kind::create:
        open_[step.path] = add("", false, false);
        rename(step.path, open_[step.path]);
        break;
      case Kind::write:
        files_[open_[step.path]].text += step.bytes;
        files_[open_[step.path]].synced = false;
        break;
      case Kind::sync:
        files_[open_[step.path]].synced = true;
        break;
      case Kind::rename:
        rename(step.target, names_[step.path].back());
        rename(step.path, kNone);
        break;
      case Kind::remove:
        rename(step.path, kNone);
        break;
      case Kind::syncFolder:
        for (auto& [path, states] : names_)
          if (path.parent_path() == step.path) states = {states.back()};
        break;
    }
  }

  /// Every state in which the power cut may leave the disk.
  std::vector<Tree> outcomes() const {
    std::vector<Tree> found = {{}};
    for (const auto& [path, states] : names_) {
      std::vector<Tree> next;
      for (const auto& tree : found)
        for (const int file : std::set<int>(states.begin(), states.end())) extend(tree, path, file, next);
      found = std::move(next);
    }
    return found;
  }

 private:
  static constexpr int kNone = -1;
  struct File {
    std::string text;
    bool synced;
    bool isFolder;
  };

  int add(std::string text, bool synced, bool isFolder) {
    files_.push_back({std::move(text), synced, isFolder});
    return static_cast<int>(files_.size()) - 1;
  }

  /// From now on `path` names `file`; what it named before it may name again after the power cut.
  void rename(const fs::path& path, int file) {
    auto& states = names_[path];
    if (states.empty()) states.push_back(kNone);
    states.push_back(file);
  }

  void extend(const Tree& tree, const fs::path& path, int number, std::vector<Tree>& into) const {
    if (number == kNone) return into.push_back(tree);
    const auto& file = files_[static_cast<std::size_t>(number)];
    auto grown = tree;
    if (file.isFolder) {
      grown[path] = std::nullopt;
      return into.push_back(grown);
    }
    for (const std::size_t length : {std::size_t{0}, file.text.size() / 2, file.text.size()}) {
      if (file.synced && length != file.text.size()) continue;
      grown[path] = file.text.substr(0, length);
      into.push_back(grown);
    }
  }

  std::vector<File> files_;
  std::map<fs::path, int> open_;
  std::map<fs::path, std::vector<int>> names_;
};

class DefaultsAfterACrash : public ::testing::Test {
 protected:
  /// Lays `tree` out in a folder of its own and tells what the settings there hold under "token".
  std::optional<std::string> tokenIn(const PowerCut::Tree& tree) {
    const test::TemporaryFolder place;
    for (const auto& [path, content] : tree) {
      const auto at = place / path.lexically_relative(folder_.path());
      if (!fs::exists(at.parent_path())) continue;  // a name in a folder that is not there
      if (content) {
        std::ofstream(at, std::ios::binary) << *content;
      } else {
        fs::create_directory(at);
      }
    }
    const auto log = std::make_shared<test::RecordingLogSink>();
    const JsonUserDefaults defaults(place / "config" / "tevanto" / "defaults.json", Logger(log, "test"));
    EXPECT_TRUE(log->lines().empty()) << log->lines().front().text;
    return defaults.string("token");
  }

  /// Makes `change` happen, cuts the power after each of its steps, and expects `before` or `after`
  /// everywhere, and nothing but `after` once the change has been reported as done.
  void expectOldOrNew(const PowerCut::Tree& start, const std::optional<std::string>& before,
                      const std::optional<std::string>& after, const std::vector<Step>& steps) {
    PowerCut disk(start);
    std::set<std::optional<std::string>> seen;
    std::size_t states = 0;
    for (std::size_t n = 0; n <= steps.size(); ++n) {
      if (n > 0) disk.apply(steps[n - 1]);
      for (const auto& tree : disk.outcomes()) {
        const auto token = tokenIn(tree);
        EXPECT_TRUE(token == before || token == after)
            << "after step " << n << ": " << token.value_or("none");
        if (n == steps.size()) {
          EXPECT_EQ(token, after) << "reported as stored, and lost";
        }
        seen.insert(token);
        ++states;
      }
    }
    EXPECT_EQ(seen.size(), 2u) << "both states occur in " << states;
    EXPECT_GT(states, steps.size());
  }

  test::TemporaryFolder folder_;
  const fs::path file_ = folder_ / "config" / "tevanto" / "defaults.json";
  std::shared_ptr<test::RecordingFileSystem> files_ = std::make_shared<test::RecordingFileSystem>();
};

TEST_F(DefaultsAfterACrash, aPowerCutDuringTheFirstWriteLeavesNothingOrAll) {
  JsonUserDefaults defaults(file_, Logger(), files_);
  ASSERT_TRUE(defaults.set("token", std::string("new")).ok());
  expectOldOrNew({}, std::nullopt, "new", files_->steps);
}

TEST_F(DefaultsAfterACrash, aPowerCutDuringALaterWriteLeavesTheOldOrTheNew) {
  JsonUserDefaults defaults(file_, Logger(), files_);
  ASSERT_TRUE(defaults.set("token", std::string("old")).ok());
  std::string old;
  std::getline(std::ifstream(file_), old);
  const PowerCut::Tree start = {
      {folder_ / "config", std::nullopt}, {folder_ / "config" / "tevanto", std::nullopt}, {file_, old}};
  files_->steps.clear();
  ASSERT_TRUE(defaults.set("token", std::string("new")).ok());
  expectOldOrNew(start, "old", "new", files_->steps);
}

TEST_F(DefaultsAfterACrash, theReplaySeesAWriteThatForgetsToSync) {
  JsonUserDefaults defaults(file_, Logger(), files_);
  ASSERT_TRUE(defaults.set("token", std::string("new")).ok());
  std::vector<Step> careless;
  for (const auto& step : files_->steps)
    if (step.kind != Kind::sync) careless.push_back(step);
  PowerCut disk({});
  for (const auto& step : careless) disk.apply(step);
  std::set<std::string> contents;
  for (const auto& tree : disk.outcomes()) contents.insert(tree.at(file_).value());
  EXPECT_EQ(contents.size(), 3u) << "an empty, a half and a whole file";
}

TEST_F(DefaultsAfterACrash, aKilledWriterLeavesTheLastAcknowledgedValueOrTheNextOne) {
  // The child writes 1, 2, 3... and says each number after it was stored; it is killed at random moments.
  std::mt19937 random(20240229);
  std::int64_t last = 0;
  for (int round = 0; round < 60; ++round) {
    int pipe[2];
    ASSERT_EQ(::pipe(pipe), 0);
    const pid_t pid = ::fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {
      JsonUserDefaults defaults(file_, Logger());
      for (std::int64_t n = last + 1;; ++n) {
        if (!defaults.set("token", n)) ::_exit(1);
        if (::write(pipe[1], &n, sizeof n) != sizeof n) ::_exit(1);
      }
    }
    ::close(pipe[1]);
    // No condition is waited for here: any moment is as good as another.
    std::this_thread::sleep_for(std::chrono::microseconds(random() % 8000));
    ::kill(pid, SIGKILL);
    int status = 0;
    ::waitpid(pid, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status)) << "a write failed";
    std::int64_t acknowledged = last;
    while (::read(pipe[0], &acknowledged, sizeof acknowledged) == sizeof acknowledged) {
    }
    ::close(pipe[0]);

    const auto log = std::make_shared<test::RecordingLogSink>();
    const JsonUserDefaults defaults(file_, Logger(log, "test"));
    EXPECT_TRUE(log->lines().empty());
    const auto stored = defaults.value("token");
    const std::int64_t found = stored ? std::get<std::int64_t>(*stored) : 0;
    EXPECT_TRUE(found == acknowledged || found == acknowledged + 1) << found << " after " << acknowledged;
    last = found;
  }
  EXPECT_GT(last, 0) << "no child ever came to write";
}

}  // namespace
}  // namespace tevanto
