#pragma once

#include <string>

namespace tevanto::relay {

/// One whole WebSocket message, passed on as it came.
struct RelayMessage {
  std::string bytes;
  bool isText = true;
};

}  // namespace tevanto::relay
