#include "net/tcp/AsioSocket.h"

#include <fcntl.h>

namespace tevanto {

void closeOnExec(int descriptor) { ::fcntl(descriptor, F_SETFD, FD_CLOEXEC); }

}  // namespace tevanto
