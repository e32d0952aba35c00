#pragma once

#include <rtc_base/physical_socket_server.h>

namespace tevanto {

/// The engine's sockets, with room for what arrives at once. As the system makes them, a UDP socket keeps
/// some ninety packets until the engine's thread reads them; a key frame is more than that, and when its last
/// packets are lost, nothing but a timeout of 400 ms and more brings them back.
class LibwebrtcSocketServer final : public rtc::PhysicalSocketServer {
 public:
  rtc::Socket* CreateSocket(int family, int type) override;
};

}  // namespace tevanto
