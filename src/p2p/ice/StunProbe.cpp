#include "p2p/ice/StunProbe.h"

#include <fcntl.h>
#include <netdb.h>
#include <poll.h>
#include <sys/random.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <memory>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "core/Descriptor.h"
#include "p2p/ice/StunMessage.h"

namespace tevanto {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr milliseconds kFirstRetransmission{500};
/// More than hosts have; a name that has many more must not cost as many sockets.
constexpr std::size_t kMostAddresses = 8;
/// No answer is longer: it fits into one packet of any network.
constexpr std::size_t kMostBytes = 1500;

/// One request, sent from one socket for each address of the server.
class Probe {
 public:
  Result<void> open(const IceUrl& server);
  void send();
  /// The first answer that comes before `end`.
  std::optional<StunAnswer> receive(Clock::time_point end);
  /// All of the server's addresses have refused.
  bool isRefused() const { return sockets_.empty(); }

 private:
  std::optional<StunAnswer> read(std::size_t index);

  StunTransaction transaction_{};
  std::vector<Descriptor> sockets_;  // without those that were refused
};

struct FreeAddresses {
  void operator()(addrinfo* list) const { ::freeaddrinfo(list); }
};
using Addresses = std::unique_ptr<addrinfo, FreeAddresses>;

Result<Addresses> lookUp(const IceUrl& server) {
  addrinfo wanted{};
  wanted.ai_family = AF_UNSPEC;
  wanted.ai_socktype = SOCK_DGRAM;
  addrinfo* list = nullptr;
  const auto fault = ::getaddrinfo(server.host.c_str(), std::to_string(server.port).c_str(), &wanted, &list);
  if (fault != 0) return Failure{::gai_strerror(fault)};
  return Addresses(list);
}

/// A connected one hears of a refusal, and only from the server.
Descriptor connected(const addrinfo& address) {
  Descriptor made(::socket(address.ai_family, SOCK_DGRAM, 0));
  if (!made || ::fcntl(made.get(), F_SETFD, FD_CLOEXEC) != 0) return {};
  return ::connect(made.get(), address.ai_addr, address.ai_addrlen) == 0 ? std::move(made) : Descriptor();
}

Result<void> Probe::open(const IceUrl& server) {
  const auto addresses = lookUp(server);
  if (!addresses) return Failure{"its name cannot be looked up: " + addresses.error()};
  for (const auto* each = addresses.value().get(); each && sockets_.size() < kMostAddresses;
       each = each->ai_next) {
    if (auto made = connected(*each)) sockets_.push_back(std::move(made));
  }
  if (sockets_.empty()) return Failure{"there is no route to it"};
  if (::getentropy(transaction_.data(), transaction_.size()) != 0)
    return Failure{"the system has no random numbers"};
  return {};
}

void Probe::send() {
  const auto request = stunBindingRequest(transaction_);
  std::erase_if(sockets_, [&](const Descriptor& socket) {
    return ::send(socket.get(), request.data(), request.size(), MSG_DONTWAIT) < 0 && errno != EAGAIN;
  });
}

std::optional<StunAnswer> Probe::receive(Clock::time_point end) {
  while (!sockets_.empty()) {
    const auto left = std::chrono::ceil<milliseconds>(end - Clock::now()).count();
    if (left <= 0) return std::nullopt;
    std::vector<pollfd> waiting;
    for (const auto& socket : sockets_) waiting.push_back({socket.get(), POLLIN, 0});
    if (::poll(waiting.data(), waiting.size(), static_cast<int>(left)) <= 0) continue;
    for (auto index = waiting.size(); index-- > 0;) {
      if (waiting[index].revents == 0) continue;
      if (auto answer = read(index)) return answer;
    }
  }
  return std::nullopt;
}

/// A datagram that is no answer is passed over; a socket that was refused goes.
std::optional<StunAnswer> Probe::read(std::size_t index) {
  std::array<std::byte, kMostBytes> datagram{};
  const auto size = ::recv(sockets_[index].get(), datagram.data(), datagram.size(), MSG_DONTWAIT);
  if (size >= 0)
    return readStunAnswer(std::span(datagram).first(static_cast<std::size_t>(size)), transaction_);
  if (errno != EAGAIN && errno != EINTR)
    sockets_.erase(sockets_.begin() + static_cast<std::ptrdiff_t>(index));
  return std::nullopt;
}

Result<std::string> found(const StunAnswer& answer) {
  if (answer.error == 0) return answer.address;
  return Failure{"it answered with the error " + std::to_string(answer.error)};
}

}  // namespace

Result<std::string> askStun(const IceUrl& server, milliseconds timeout) {
  Probe probe;
  if (const auto opened = probe.open(server); !opened) return Failure{opened.error()};
  const auto end = Clock::now() + timeout;
  for (auto wait = kFirstRetransmission;; wait *= 2) {
    const auto pause = std::min(end, Clock::now() + wait);
    probe.send();
    if (const auto answer = probe.receive(pause)) return found(*answer);
    if (probe.isRefused()) return Failure{"nothing listens there"};
    if (pause == end) return Failure{"it does not answer"};
  }
}

}  // namespace tevanto
