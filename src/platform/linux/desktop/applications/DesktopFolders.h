#pragma once

#include <string>
#include <vector>

namespace tevanto {

/// DesktopFolders holds the folders in which the desktop keeps its files (XDG Base Directory Specification).
/// All are absolute paths.
struct DesktopFolders {
  std::string home;
  std::string dataHome;
  std::vector<std::string> dataFolders;  // the most important one first
  std::string configHome;
  std::vector<std::string> configFolders;

  /// Reads the environment, with the standard's defaults. Relative paths are ignored, as the standard asks.
  static DesktopFolders fromEnvironment();

  /// `dataHome`, then `dataFolders`, each with `name` below it.
  std::vector<std::string> inDataFolders(const std::string& name) const;
  /// `configHome`, then `configFolders`, each with `name` below it.
  std::vector<std::string> inConfigFolders(const std::string& name) const;
};

}  // namespace tevanto
