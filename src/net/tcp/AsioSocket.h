#pragma once

// For the classes that hold sockets themselves: shows types of Boost.Asio.

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>

namespace tevanto {

/// AsioSocket is a TCP socket of an event loop; its handlers run on any thread of the loop.
using AsioSocket =
    boost::asio::basic_stream_socket<boost::asio::ip::tcp, boost::asio::io_context::executor_type>;

/// Keeps programs that we start from inheriting a socket: they would hold our port after our end.
void closeOnExec(int descriptor);

}  // namespace tevanto
