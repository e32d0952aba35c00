#include "relay/AsioRelayListener.h"

#include <boost/asio/ip/v6_only.hpp>
#include <chrono>
#include <utility>

namespace tevanto::relay {
namespace {

namespace asio = boost::asio;
using asio::ip::tcp;
using boost::system::error_code;
using Acceptor = asio::basic_socket_acceptor<tcp, asio::io_context::executor_type>;
using Endpoints = std::vector<tcp::endpoint>;

/// How long no connection is accepted after the system had no descriptor or memory for one.
constexpr std::chrono::milliseconds kScarcityPause{100};
/// How often another free port is tried when an address does not have the one that the first gave.
constexpr int kFreePortAttempts = 16;
/// What the system keeps for a client that does not read, beside our own limit. Accepted sockets inherit it.
constexpr int kSendBufferBytes = 64 * 1024;

Result<Endpoints> endpointsOf(const std::vector<std::string>& addresses, std::uint16_t port) {
  if (addresses.empty()) return Endpoints{{tcp::v4(), port}, {tcp::v6(), port}};
  Endpoints endpoints;
  for (const auto& text : addresses) {
    error_code error;
    const auto address = asio::ip::make_address(text, error);
    if (error) return Failure{"\"" + text + "\" is no address to listen on."};
    endpoints.emplace_back(address, port);
  }
  return endpoints;
}

void bindAndListen(Acceptor& acceptor, const tcp::endpoint& endpoint, error_code& error) {
  acceptor.open(endpoint.protocol(), error);
  if (error) return;
  closeOnExec(acceptor.native_handle());
  acceptor.set_option(asio::socket_base::reuse_address(true), error);
  if (!error && endpoint.protocol() == tcp::v6()) acceptor.set_option(asio::ip::v6_only(true), error);
  if (!error) acceptor.set_option(asio::socket_base::send_buffer_size(kSendBufferBytes), error);
  if (!error) acceptor.bind(endpoint, error);
  if (!error) acceptor.listen(asio::socket_base::max_listen_connections, error);
}

bool lacksIpv6(const tcp::endpoint& endpoint, const error_code& error) {
  return endpoint.protocol() == tcp::v6() && error != asio::error::address_in_use &&
         error != asio::error::access_denied;
}

/// Doors for all endpoints, on the first one's port where that was any.
std::vector<Acceptor> openAll(asio::io_context& context, Endpoints endpoints, bool mayLackIpv6,
                              error_code& error) {
  std::vector<Acceptor> acceptors;
  for (auto& endpoint : endpoints) {
    if (!acceptors.empty()) endpoint.port(acceptors.front().local_endpoint(error).port());
    Acceptor acceptor(context.get_executor());
    bindAndListen(acceptor, endpoint, error);
    if (!error) acceptors.push_back(std::move(acceptor));
    if (error && mayLackIpv6 && lacksIpv6(endpoint, error)) error = {};
    if (error) break;
  }
  return acceptors;
}

}  // namespace

Result<std::shared_ptr<AsioRelayListener>> AsioRelayListener::open(asio::io_context& context,
                                                                   const std::vector<std::string>& addresses,
                                                                   std::uint16_t port) {
  const auto endpoints = endpointsOf(addresses, port);
  if (!endpoints) return Failure{endpoints.error()};
  error_code error;
  for (int attempt = 0; attempt < (port == 0 ? kFreePortAttempts : 1); ++attempt) {
    error = {};
    auto acceptors = openAll(context, endpoints.value(), addresses.empty(), error);
    if (!error && !acceptors.empty())
      return std::shared_ptr<AsioRelayListener>(new AsioRelayListener(std::move(acceptors)));
  }
  return Failure{"Cannot listen on port " + std::to_string(port) + ": " + error.message() +
                 ". --port and --listen choose another place."};
}

AsioRelayListener::AsioRelayListener(std::vector<Acceptor> acceptors) {
  for (auto& acceptor : acceptors) {
    const auto executor = acceptor.get_executor();
    doors_.push_back(std::make_unique<Door>(Door{std::move(acceptor), asio::steady_timer(executor)}));
  }
}

std::vector<tcp::endpoint> AsioRelayListener::endpoints() const {
  std::vector<tcp::endpoint> endpoints;
  for (const auto& door : doors_) {
    error_code ignored;
    endpoints.push_back(door->acceptor.local_endpoint(ignored));
  }
  return endpoints;
}

void AsioRelayListener::start(Handler handler) {
  handler_ = std::move(handler);
  for (auto& door : doors_) acceptNext(*door);
}

void AsioRelayListener::close() {
  error_code ignored;
  for (auto& door : doors_) {
    door->acceptor.close(ignored);
    door->pause.cancel();
  }
}

void AsioRelayListener::acceptNext(Door& door) {
  if (!door.acceptor.is_open()) return;
  door.acceptor.async_accept(door.acceptor.get_executor(),
                             [self = shared_from_this(), &door](const error_code& error, AsioSocket socket) {
                               self->accepted(door, error, std::move(socket));
                             });
}

void AsioRelayListener::accepted(Door& door, const error_code& error, AsioSocket socket) {
  if (!door.acceptor.is_open()) return;
  if (!error) {
    closeOnExec(socket.native_handle());
    error_code gone;
    const auto peer = socket.remote_endpoint(gone);
    if (!gone) handler_(std::move(socket), peer);
    return acceptNext(door);
  }
  // No descriptors, no memory, a network that is going down: no reason to stop listening, nor to try again
  // without a breath.
  door.pause.expires_after(kScarcityPause);
  door.pause.async_wait([self = shared_from_this(), &door](const error_code&) { self->acceptNext(door); });
}

}  // namespace tevanto::relay
