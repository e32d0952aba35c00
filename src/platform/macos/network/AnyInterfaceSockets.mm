#include "platform/macos/network/AnyInterfaceSockets.h"

#include <sys/socket.h>

namespace tevanto {

void receiveOnAnyInterface(int descriptor) {
  const int on = 1;
  // Without it the other interfaces still work.
  static_cast<void>(::setsockopt(descriptor, SOL_SOCKET, SO_RECV_ANYIF, &on, sizeof on));
}

}  // namespace tevanto
