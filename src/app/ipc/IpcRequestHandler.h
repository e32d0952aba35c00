#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "app/ipc/CompanionStatus.h"
#include "app/ipc/IpcMessages.h"

namespace tevanto {

class MacAppDelegate;
class TevantoMacRuntime;
class UserDefaults;

/// IpcRequestHandler carries out the requests that come through the control socket. Main queue only.
class IpcRequestHandler {
 public:
  /// Environment holds the parts of the companion that requests concern. The references outlive the handler.
  struct Environment {
    TevantoMacRuntime& runtime;
    MacAppDelegate& application;
    UserDefaults& defaults;
    std::string computerName;
    std::function<std::vector<std::string>()> addresses;  // under which others reach this computer
    std::function<void()> reloadDefaults;
    std::function<void(const std::string& token)> useActivationToken;  // of the next window
    std::function<bool()> giveWay;  // true when it ends, for a companion that has a display
  };

  explicit IpcRequestHandler(Environment environment) : environment_(std::move(environment)) {}

  /// Returns the line that answers `line`.
  std::string answer(std::string_view line);
  IpcReply carryOut(const IpcRequest& request);
  CompanionStatus status() const;

 private:
  const Environment environment_;
};

}  // namespace tevanto
