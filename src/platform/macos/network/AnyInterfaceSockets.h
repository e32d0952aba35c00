#pragma once

namespace tevanto {

/// Lets a listening socket accept connections over peer-to-peer links (AWDL) too. The system withholds these
/// from sockets without this option. To be given to AsioTcpListenerFactory.
void receiveOnAnyInterface(int descriptor);

}  // namespace tevanto
