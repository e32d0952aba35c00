#pragma once

#include <memory>

#include "control/AccessibilityPermission.h"

namespace tevanto {

class ReconnectingXServer;

/// XTestPermission is granted while an X server with XTEST answers, because an X server lets every client
/// inject input that it lets connect. Any thread.
class XTestPermission final : public AccessibilityPermission {
 public:
  explicit XTestPermission(std::shared_ptr<ReconnectingXServer> link);

  bool isTrusted() override;
  /// Looks for an X server now. X11 has no such permission to request.
  void request() override;

 private:
  std::shared_ptr<ReconnectingXServer> link_;
};

}  // namespace tevanto
