#include "platform/linux/webrtc/LibwebrtcSocketServer.h"

#include <sys/socket.h>

namespace tevanto {
namespace {

// Bytes, overhead included; the system gives what it allows to ordinary programs.
constexpr int kReceiveBuffer = 2 * 1024 * 1024;

}  // namespace

rtc::Socket* LibwebrtcSocketServer::CreateSocket(int family, int type) {
  auto* socket = PhysicalSocketServer::CreateSocket(family, type);
  if (socket && type == SOCK_DGRAM) socket->SetOption(rtc::Socket::OPT_RCVBUF, kReceiveBuffer);
  return socket;
}

}  // namespace tevanto
