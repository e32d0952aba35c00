#pragma once

#include <memory>

#include "control/AccessibilityPermission.h"

namespace tevanto {

class ReconnectingXServer;

/// An X server lets every client inject input that it lets connect: the permission is there while an X server
/// with XTEST is.
class XTestPermission final : public AccessibilityPermission {
 public:
  explicit XTestPermission(std::shared_ptr<ReconnectingXServer> link);

  bool isTrusted() override;
  /// Looks for an X server now. There is nobody to ask.
  void request() override;

 private:
  std::shared_ptr<ReconnectingXServer> link_;
};

}  // namespace tevanto
