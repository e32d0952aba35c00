#pragma once

#include <string>
#include <utility>

#include "remote/message/RemoteMessage.h"

namespace tevanto::phone {

/// A command of this type, without any other member.
inline RemoteCommand command(std::string type) {
  RemoteCommand made;
  made.type = std::move(type);
  return made;
}

/// A command with a distance, in points.
inline RemoteCommand motion(std::string type, double dx, double dy) {
  auto made = command(std::move(type));
  made.dx = dx;
  made.dy = dy;
  return made;
}

}  // namespace tevanto::phone
