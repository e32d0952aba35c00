#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tevanto {

/// ApplicationBundle describes one entry of a folder of applications. Texts are UTF-8.
struct ApplicationBundle {
  std::string location;                   // where it is, as `iconPng` and `open` take it
  std::string fileName;                   // without its folder and extension
  std::optional<std::string> identifier;  // an entry without one is no application
  std::optional<std::string> displayName;
  std::optional<std::string> bundleName;
  std::optional<double> created;  // seconds since 1970-01-01 UTC
  bool hidden = false;  // takes its identifier, but is not shown: it may hide the same one in a later folder
};

/// Workspace finds and opens the desktop's applications. Thread-safe.
class Workspace {
 public:
  virtual ~Workspace() = default;

  /// The folders that hold applications, the most important one first.
  virtual std::vector<std::string> applicationFolders() = 0;
  /// The applications of one folder, in the system's order; an unreadable folder or entry is left out.
  virtual std::vector<ApplicationBundle> applicationsIn(const std::string& folder) = 0;
  /// The icon as a PNG image (ISO/IEC 15948) of `kIconPixels` squared; nothing when it has none that can be
  /// read.
  virtual std::optional<std::vector<std::byte>> iconPng(const ApplicationBundle& application) = 0;
  /// The location of the application with this identifier, when one is installed.
  virtual std::optional<std::string> locationOf(std::string_view identifier) = 0;
  virtual bool exists(const std::string& location) = 0;

  /// Activation is the way in which an application comes forward when it is opened.
  enum class Activation { systemDefault, activate };
  /// Starts the application, or raises it when it already runs. Returns before that has happened.
  virtual void open(const std::string& location, Activation activation) = 0;

  static constexpr int kIconPixels = 64;
};

}  // namespace tevanto
