#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace tevanto::test {

/// The settings daemon of an X desktop, with one integer and, around it, settings of the other kinds.
class XSettingsDaemon {
 public:
  explicit XSettingsDaemon(const std::string& display);
  /// Goes with its window, as one does that has crashed.
  ~XSettingsDaemon();
  XSettingsDaemon(const XSettingsDaemon&) = delete;
  XSettingsDaemon& operator=(const XSettingsDaemon&) = delete;

  /// Returns when the server has it.
  void publish(const std::string& name, std::int32_t value);

  /// The list that it publishes, in either byte order.
  static std::vector<std::byte> list(const std::string& name, std::int32_t value, bool bigEndian);

 private:
  struct Connection;
  const std::unique_ptr<Connection> connection_;
};

}  // namespace tevanto::test
