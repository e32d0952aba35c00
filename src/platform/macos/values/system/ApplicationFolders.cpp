#include "platform/macos/values/system/ApplicationFolders.h"

#include <string_view>

namespace tevanto {
namespace {

constexpr std::string_view kExtension = ".app";

}  // namespace

std::vector<std::string> applicationFoldersOf(const std::string& home) {
  const bool endsInSlash = !home.empty() && home.back() == '/';
  return {"/Applications", "/Applications/Utilities", "/System/Applications",
          "/System/Applications/Utilities", home + (endsInSlash ? "Applications" : "/Applications")};
}

bool isApplicationName(const std::string& name) {
  return name.size() >= kExtension.size() &&
         name.compare(name.size() - kExtension.size(), kExtension.size(), kExtension) == 0;
}

std::string applicationFileName(const std::string& name) {
  return isApplicationName(name) ? name.substr(0, name.size() - kExtension.size()) : name;
}

}  // namespace tevanto
