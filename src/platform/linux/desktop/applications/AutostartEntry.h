#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "core/Result.h"

namespace tevanto {

/// AutostartEntry is one desktop entry file for autostart, as the Desktop Entry Specification has it. Other
/// keys than those named here are kept.
class AutostartEntry {
 public:
  AutostartEntry();
  ~AutostartEntry();
  AutostartEntry(AutostartEntry&&) noexcept;
  AutostartEntry& operator=(AutostartEntry&&) noexcept;

  /// Nothing when there is no such file, or one that no desktop could read; a failure when the system does
  /// not let it be read.
  static Result<std::optional<AutostartEntry>> load(const std::filesystem::path& file);
  /// Replaces the file atomically, and makes its folder where it is missing.
  Result<void> save(const std::filesystem::path& file) const;

  /// Returns true when the desktop has switched it off.
  bool isSwitchedOff() const;
  /// Returns true when this program took the registration back, over an entry of the system.
  bool isTakenBack() const;
  /// Returns true when it starts a program that is there.
  bool startsSomething() const;

  void setCommand(const std::filesystem::path& program, const std::vector<std::string>& arguments);
  void setTakenBack(bool takenBack);

 private:
  struct KeyFile;
  std::unique_ptr<KeyFile> keys_;
};

}  // namespace tevanto
