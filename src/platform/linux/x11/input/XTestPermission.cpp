#include "platform/linux/x11/input/XTestPermission.h"

#include <utility>

#include "platform/linux/x11/ReconnectingXServer.h"

namespace tevanto {

XTestPermission::XTestPermission(std::shared_ptr<ReconnectingXServer> link) : link_(std::move(link)) {}

bool XTestPermission::isTrusted() { return link_->connection() != nullptr; }

void XTestPermission::request() {
  link_->retryNow();
  link_->connection();
}

}  // namespace tevanto
