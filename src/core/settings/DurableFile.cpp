#include "core/settings/DurableFile.h"

#include <string>
#include <system_error>

#include "core/Descriptor.h"
#include "core/settings/FileSystem.h"

namespace tevanto {
namespace {

namespace fs = std::filesystem;

Failure failure(const char* what, const fs::path& path, const std::error_code& error) {
  return Failure{std::string(what) + " " + path.string() + ": " + error.message()};
}

Result<void> writeSynced(FileSystem& files, const fs::path& path, std::string_view text) {
  int raw = -1;
  if (auto error = files.create(path, raw)) return failure("cannot create", path, error);
  const Descriptor file(raw);
  if (auto error = files.write(file.get(), text)) return failure("cannot write", path, error);
  // Before the rename: otherwise the new name could reach the disk before the bytes behind it.
  if (auto error = files.sync(file.get())) return failure("cannot sync", path, error);
  return {};
}

}  // namespace

Result<void> makeDurableFolder(FileSystem& files, const fs::path& folder) {
  std::error_code unknown;
  if (folder.empty() || fs::is_directory(folder, unknown)) return {};
  const auto parent = folder.parent_path();
  if (auto made = makeDurableFolder(files, parent); !made) return made;
  auto error = files.makeFolder(folder);
  if (error == std::errc::file_exists) return {};  // somebody else was faster
  if (error) return failure("cannot create the folder", folder, error);
  error = files.syncFolder(parent.empty() ? fs::path(".") : parent);
  if (error) return failure("cannot sync", parent, error);
  return {};
}

Result<void> replaceDurably(FileSystem& files, const fs::path& path, std::string_view text) {
  const fs::path fresh = path.string() + ".new";
  const auto leftOver = files.remove(fresh);  // of a writer that died
  if (leftOver && leftOver != std::errc::no_such_file_or_directory)
    return failure("cannot remove", fresh, leftOver);
  auto done = writeSynced(files, fresh, text);
  if (done) {
    if (auto error = files.rename(fresh, path)) done = failure("cannot replace", path, error);
  }
  if (!done) {
    (void)files.remove(fresh);
    return done;
  }
  const auto folder = path.has_parent_path() ? path.parent_path() : fs::path(".");
  if (auto error = files.syncFolder(folder)) return failure("cannot sync", folder, error);
  return {};
}

}  // namespace tevanto
