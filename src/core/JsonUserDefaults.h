#pragma once

#include <filesystem>
#include <memory>
#include <mutex>

#include "core/Log.h"
#include "core/UserDefaults.h"

namespace tevanto {

/// User defaults in one JSON object in one file of mode 0600. Every change rewrites the file: a new file
/// beside it, fsync, rename over the old one, fsync of the folder; so the file is always the old or the new
/// state. Changes of several processes are merged under a lock file; `reload()` picks up what another process
/// wrote. A file that cannot be read as a JSON object is renamed to `<name>.unreadable-<n>`, reported, and
/// never overwritten.
class JsonUserDefaults final : public UserDefaults {
 public:
  /// Reads `file` (absent: empty). Its folder is created, mode 0700, on the first write.
  JsonUserDefaults(std::filesystem::path file, Logger log);
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

  struct Content;  // what the file holds, members of unknown shape included, which are kept as they are

 private:
  Result<void> change(const std::function<void(Content&)>& edit);

  const std::filesystem::path file_;
  const Logger log_;
  mutable std::mutex mutex_;
  std::unique_ptr<Content> content_;
};

}  // namespace tevanto
