#pragma once

#include <cstddef>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "core/Result.h"

namespace tevanto {

/// InfoPlist holds the bundle information of the program: deployment values by key, from an XML or binary
/// property list. It gives strings and arrays of strings at the top level, and nothing else.
class InfoPlist {
 public:
  /// The largest property list that is read, in bytes.
  static constexpr std::size_t kMaxBytes = 64 * 1024;

  InfoPlist() = default;
  static Result<InfoPlist> parse(std::span<const std::byte> bytes);
  static Result<InfoPlist> load(const std::filesystem::path& file);

  std::optional<std::string> string(std::string_view key) const;
  std::optional<std::vector<std::string>> strings(std::string_view key) const;

 private:
  std::shared_ptr<void> dictionary_;  // libplist's; never changed
};

}  // namespace tevanto
