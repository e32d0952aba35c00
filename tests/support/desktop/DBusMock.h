#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/desktop/PrivateBus.h"

namespace tevanto::test {

/// A service on a private bus, played by python3-dbusmock: by one of its templates, or by methods that the
/// test adds. It serves until this object goes.
class DBusMock {
 public:
  struct Method {
    std::string interface;
    std::string name;
    std::string in;         // D-Bus signature of the arguments
    std::string out;        // and of the reply
    std::string code = {};  // Python; sets `ret`, reads `args`
  };

  /// A template of python3-dbusmock, such as "logind" or "upower"; `parameters` is a JSON object.
  static std::unique_ptr<DBusMock> ofTemplate(PrivateBus& bus, const std::string& name,
                                              const std::string& parameters = "{}");
  DBusMock(PrivateBus& bus, const std::string& name, const std::string& path, const std::string& interface);

  void addMethod(const Method& method);
  /// Properties of the main object, as the GVariant text of an a{sv}.
  void addProperties(const std::string& interface, const std::string& properties);
  /// Calls a method of the mock's main object, or of another one of its objects.
  std::string call(const std::string& method, const std::vector<std::string>& arguments = {}) const;
  std::string callAt(const std::string& path, const std::string& method,
                     const std::vector<std::string>& arguments = {}) const;
  /// What was called so far, as the printed list of (time, method, arguments), of the main object or another.
  std::string calls() const { return callsAt(path_); }
  std::string callsAt(const std::string& path) const;

  /// Stops answering, as a service that hangs does; the bus still takes messages for it.
  void hang();
  void resume();
  ChildProcess& process() { return *process_; }

 private:
  DBusMock(PrivateBus& bus, std::string name, std::string path, std::vector<std::string> arguments);

  PrivateBus& bus_;
  std::string name_;
  std::string path_;
  std::unique_ptr<ChildProcess> process_;
};

}  // namespace tevanto::test
