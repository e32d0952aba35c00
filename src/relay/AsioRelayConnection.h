#pragma once

// Private to the connections of this folder: shows types of Boost.Asio and Boost.Beast.

#include <boost/asio/ssl/context.hpp>
#include <memory>

#include "net/tcp/AsioSocket.h"
#include "relay/RelayConnection.h"

namespace tevanto::relay {

// One source file each, because a WebSocket takes the compiler long.
std::shared_ptr<RelayConnection> makePlainRelayConnection(std::shared_ptr<RelayContext> context,
                                                          AsioSocket socket, const IpAddress& peer);
std::shared_ptr<RelayConnection> makeTlsRelayConnection(std::shared_ptr<RelayContext> context,
                                                        AsioSocket socket, const IpAddress& peer,
                                                        boost::asio::ssl::context& certificates);

}  // namespace tevanto::relay
