#pragma once

namespace tevanto {

/// Lets a listening socket take connections over peer-to-peer links (AWDL) too, which the system keeps from
/// sockets that do not ask. A preparation for AsioTcpListenerFactory.
void receiveOnAnyInterface(int descriptor);

}  // namespace tevanto
