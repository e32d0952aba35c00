#pragma once

#include <filesystem>
#include <memory>
#include <mutex>

#include "core/Log.h"
#include "core/settings/UserDefaults.h"

namespace tevanto {

class FileSystem;

/// JsonUserDefaults keeps user defaults as one JSON object in one file of mode 0600.
///
/// - Every change rewrites the file: a new file beside it, fsync, rename over the old one, fsync of the
///   folder. So the file always holds the old or the new state.
/// - Changes of several threads and processes are merged under a lock file. `reload()` reads the changes of
///   another process.
/// - A file that is no JSON object, or larger than 4 MiB, is renamed to `<name>.unreadable-<n>` and reported.
///   A file that the system does not let us read is reported and left alone. Neither is ever overwritten.
/// - Data is kept as base64 (DefaultsJson.h). Other members that are no DefaultsValue (objects, integers
///   beyond int64) are kept as they are and not shown.
///
/// Thread-safe.
class JsonUserDefaults final : public UserDefaults {
 public:
  /// Reads `file` (absent: empty). Its folder is created, mode 0700, on the first write.
  JsonUserDefaults(std::filesystem::path file, Logger log, std::shared_ptr<FileSystem> files = nullptr);
  ~JsonUserDefaults() override;

  std::optional<DefaultsValue> value(std::string_view key) const override;
  Result<void> set(std::string_view key, DefaultsValue value) override;
  Result<void> remove(std::string_view key) override;
  std::map<std::string, DefaultsValue> all() const override;
  bool stringEquals(std::string_view key, std::optional<std::string_view> candidate) const override;

  /// Reads the file again, after another process has changed it.
  void reload();
  const std::filesystem::path& file() const { return file_; }

  /// "$XDG_CONFIG_HOME/tevanto/<name>", or the same under "~/.config".
  static std::filesystem::path standardFile(std::string_view name);

 private:
  struct Content;
  struct Reading;

  std::filesystem::path lockFile() const;
  Reading read() const;
  /// Only under the lock: a damaged file is renamed, reported, and counts as empty.
  Reading readOrSetAside() const;
  void keep(Content content);
  Result<void> change(const std::function<void(Content&)>& edit);

  const std::filesystem::path file_;
  const Logger log_;
  const std::shared_ptr<FileSystem> files_;
  mutable std::mutex mutex_;  // guards content_; never held while the disk is waited for
  std::unique_ptr<Content> content_;
};

}  // namespace tevanto
