#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/support/programs/TestFiles.h"

namespace tevanto::test {

/// A page of the documentation, for tests that do what it says.
class GuidePage {
 public:
  explicit GuidePage(const std::filesystem::path& path) {
    const auto page = contentOf(path);
    const std::string fence = "\n```\n";
    for (auto at = page.find(fence); at != std::string::npos; at = page.find(fence, at)) {
      const auto begin = at + fence.size();
      // The line feed before a fence ends the block's last line.
      const auto end = page.find(fence, begin - 1);
      if (end == std::string::npos) throw std::runtime_error("a block without an end in " + path.string());
      blocks_.push_back(page.substr(begin, end + 1 - begin));
      at = end + fence.size() - 1;
    }
  }

  /// The block that holds this text, which no other does.
  const std::string& blockWith(const std::string& text) const {
    const std::string* found = nullptr;
    for (const auto& block : blocks_) {
      if (block.find(text) == std::string::npos) continue;
      if (found) throw std::runtime_error("several blocks hold " + text);
      found = &block;
    }
    if (!found) throw std::runtime_error("no block holds " + text);
    return *found;
  }

 private:
  std::vector<std::string> blocks_;
};

}  // namespace tevanto::test
