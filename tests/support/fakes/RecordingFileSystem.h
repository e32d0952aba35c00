#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "core/settings/FileSystem.h"

namespace tevanto::test {

/// Does the real thing, writes down each step that changes the disk, and lets steps fail.
class RecordingFileSystem final : public FileSystem {
 public:
  enum class Kind { makeFolder, create, write, sync, syncFolder, rename, remove };
  struct Step {
    Kind kind;
    Path path;
    Path target;        // of a rename
    std::string bytes;  // of a write
  };

  /// The steps that succeeded, in their order. Files are named by the path under which they were created.
  std::vector<Step> steps;
  /// Asked before each step: an error means that it fails with this, without being done.
  std::function<Error(Kind kind, const Path& path)> fault;
  /// Given as the result of every read.
  Error readFault;

  Error read(const Path& path, std::size_t maxBytes, std::string& text) override {
    return readFault ? readFault : real_->read(path, maxBytes, text);
  }
  Error makeFolder(const Path& path) override {
    return step({Kind::makeFolder, path, {}, {}}, [&] { return real_->makeFolder(path); });
  }
  Error create(const Path& path, int& file) override {
    return step({Kind::create, path, {}, {}}, [&] {
      auto error = real_->create(path, file);
      if (!error) names_[file] = path;
      return error;
    });
  }
  Error write(int file, std::string_view bytes) override {
    return step({Kind::write, names_[file], {}, std::string(bytes)},
                [&] { return real_->write(file, bytes); });
  }
  Error sync(int file) override {
    return step({Kind::sync, names_[file], {}, {}}, [&] { return real_->sync(file); });
  }
  Error syncFolder(const Path& folder) override {
    return step({Kind::syncFolder, folder, {}, {}}, [&] { return real_->syncFolder(folder); });
  }
  Error rename(const Path& from, const Path& to) override {
    return step({Kind::rename, from, to, {}}, [&] { return real_->rename(from, to); });
  }
  Error remove(const Path& path) override {
    return step({Kind::remove, path, {}, {}}, [&] { return real_->remove(path); });
  }

  std::vector<Kind> kinds() const {
    std::vector<Kind> found;
    for (const auto& done : steps) found.push_back(done.kind);
    return found;
  }

 private:
  Error step(Step next, const std::function<Error()>& act) {
    if (fault) {
      if (auto error = fault(next.kind, next.path)) return error;
    }
    auto error = act();
    if (!error) steps.push_back(std::move(next));
    return error;
  }

  std::shared_ptr<FileSystem> real_ = FileSystem::real();
  std::map<int, Path> names_;
};

}  // namespace tevanto::test
