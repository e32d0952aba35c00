#include "net/tcp/KeepAlive.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

namespace tevanto {
namespace {

// macOS gives the time of silence the name of it all.
#ifdef TCP_KEEPIDLE
constexpr int kSilence = TCP_KEEPIDLE;
#else
constexpr int kSilence = TCP_KEEPALIVE;
#endif

void set(int descriptor, int level, int option, int value) {
  ::setsockopt(descriptor, level, option, &value, sizeof value);
}

}  // namespace

void setKeepAlive(int descriptor, const KeepAlive& keepAlive) {
  set(descriptor, IPPROTO_TCP, kSilence, static_cast<int>(keepAlive.silence.count()));
  set(descriptor, IPPROTO_TCP, TCP_KEEPINTVL, static_cast<int>(keepAlive.interval.count()));
  set(descriptor, IPPROTO_TCP, TCP_KEEPCNT, keepAlive.questions);
  set(descriptor, SOL_SOCKET, SO_KEEPALIVE, 1);
}

}  // namespace tevanto
