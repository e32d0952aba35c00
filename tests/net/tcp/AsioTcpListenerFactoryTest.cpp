#include "net/tcp/AsioTcpListenerFactory.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/peers/RawSocket.h"
#include "tests/support/peers/Sockets.h"
#include "tests/support/programs/Eventually.h"

namespace tevanto {
namespace {

using test::RawSocket;

bool machineHasIpv6() {
  const RawSocket probe(::socket(AF_INET6, SOCK_STREAM, 0));
  sockaddr_in6 address{};
  address.sin6_family = AF_INET6;
  address.sin6_addr = in6addr_loopback;
  return probe.isOpen() && ::bind(probe.fd(), reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
}

class AsioTcpListenerTest : public testing::Test {
 protected:
  ~AsioTcpListenerTest() override {
    queue_->sync([&] {
      listener_.reset();
      connections_.clear();
    });
  }

  void listen(ListenScope scope = ListenScope::loopback, std::uint16_t port = 0) {
    auto made = AsioTcpListenerFactory(loop_, scope).listen(port);
    ASSERT_TRUE(made) << made.error();
    listener_ = std::move(made).value();
    listener_->setStateHandler([this](ListenerState state) {
      EXPECT_TRUE(queue_->isCurrent());
      states_.push_back(state);
    });
    listener_->setConnectionHandler([this](std::unique_ptr<TcpConnection> connection) {
      EXPECT_TRUE(queue_->isCurrent());
      connections_.push_back(std::move(connection));
    });
    listener_->start(queue_);
  }

  bool accepted(std::size_t count) {
    return eventually([&] { return connections_.size() == count; });
  }
  template <class Condition>
  bool eventually(Condition condition) {
    return test::eventually([&] {
      bool holds = false;
      queue_->sync([&] { holds = condition(); });
      return holds;
    });
  }
  std::vector<ListenerState> states() {
    std::vector<ListenerState> seen;
    queue_->sync([&] { seen = states_; });
    return seen;
  }

  std::shared_ptr<EventLoop> loop_ = EventLoop::background(1);
  std::shared_ptr<SerialQueue> queue_ = loop_->makeQueue("listener");
  std::unique_ptr<TcpListener> listener_;
  std::vector<ListenerState> states_;
  std::vector<std::unique_ptr<TcpConnection>> connections_;
};

TEST_F(AsioTcpListenerTest, acceptsOverBothProtocolsOnOneFreePort) {
  listen();
  ASSERT_NE(listener_->port(), 0);
  EXPECT_TRUE(RawSocket::connectTo(listener_->port()).isOpen());
  ASSERT_TRUE(accepted(1));
  if (!machineHasIpv6()) GTEST_SKIP() << "this machine has no IPv6 loopback";
  EXPECT_TRUE(RawSocket::connectTo(listener_->port(), true).isOpen());
  ASSERT_TRUE(accepted(2));
  EXPECT_EQ(connections_[0]->peerName().substr(0, 10), "127.0.0.1:");
  EXPECT_EQ(connections_[1]->peerName().substr(0, 6), "[::1]:");
  EXPECT_EQ(states(), std::vector<ListenerState>{ListenerState::ready});
}

/// The addresses on which this process listens at `port`, from the kernel's own table.
std::vector<std::string> listeningAddresses(std::uint16_t port) {
  std::vector<std::string> found;
  for (const auto& entry : std::filesystem::directory_iterator("/dev/fd")) {
    const int fd = std::stoi(entry.path().filename());
    sockaddr_storage address{};
    socklen_t size = sizeof address;
    int listening = 0;
    socklen_t optionSize = sizeof listening;
    if (::getsockopt(fd, SOL_SOCKET, SO_ACCEPTCONN, &listening, &optionSize) != 0 || !listening) continue;
    ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size);
    char text[INET6_ADDRSTRLEN] = "";
    const auto* v4 = reinterpret_cast<sockaddr_in*>(&address);
    const auto* v6 = reinterpret_cast<sockaddr_in6*>(&address);
    const bool is4 = address.ss_family == AF_INET;
    ::inet_ntop(address.ss_family, is4 ? static_cast<const void*>(&v4->sin_addr) : &v6->sin6_addr, text,
                sizeof text);
    if (ntohs(is4 ? v4->sin_port : v6->sin6_port) == port) found.emplace_back(text);
    EXPECT_TRUE(::fcntl(fd, F_GETFD) & FD_CLOEXEC) << "a program started from here would keep the port";
  }
  std::sort(found.begin(), found.end());
  return found;
}

TEST_F(AsioTcpListenerTest, listensOnLoopbackOnlyOrEverywhere) {
  listen(ListenScope::loopback);
  const auto both = machineHasIpv6();
  EXPECT_EQ(listeningAddresses(listener_->port()),
            both ? (std::vector<std::string>{"127.0.0.1", "::1"}) : std::vector<std::string>{"127.0.0.1"});
  queue_->sync([&] { listener_.reset(); });
  listen(ListenScope::everywhere);
  EXPECT_EQ(listeningAddresses(listener_->port()),
            both ? (std::vector<std::string>{"0.0.0.0", "::"}) : std::vector<std::string>{"0.0.0.0"});
}

#ifdef TCP_KEEPIDLE
constexpr int kSilence = TCP_KEEPIDLE;
#else
constexpr int kSilence = TCP_KEEPALIVE;  // macOS
#endif

using PortQuestion = int (*)(int, sockaddr*, socklen_t*);

in_port_t portOf(int descriptor, PortQuestion ask) {
  sockaddr_storage address{};
  socklen_t size = sizeof address;
  if (ask(descriptor, reinterpret_cast<sockaddr*>(&address), &size) != 0) return 0;
  // It stands at the same place in both families' addresses.
  return reinterpret_cast<const sockaddr_in*>(&address)->sin_port;
}

int optionOf(int descriptor, int level, int option) {
  int value = -1;
  socklen_t size = sizeof value;
  ::getsockopt(descriptor, level, option, &value, &size);
  return value;
}

/// Silence, interval and questions as the kernel has noted them for the other end of `peer`; nothing when it
/// does not ask.
std::vector<int> keepAliveTowards(const RawSocket& peer) {
  const auto port = portOf(peer.fd(), [](auto... of) { return ::getsockname(of...); });
  for (const auto& entry : std::filesystem::directory_iterator("/dev/fd")) {
    const int fd = std::stoi(entry.path().filename());
    if (portOf(fd, [](auto... of) { return ::getpeername(of...); }) != port) continue;
    if (optionOf(fd, SOL_SOCKET, SO_KEEPALIVE) == 0) return {};
    return {optionOf(fd, IPPROTO_TCP, kSilence), optionOf(fd, IPPROTO_TCP, TCP_KEEPINTVL),
            optionOf(fd, IPPROTO_TCP, TCP_KEEPCNT)};
  }
  return {};
}

TEST_F(AsioTcpListenerTest, asksASilentPeerWhetherItIsThere) {
  listen();
  const auto v4 = RawSocket::connectTo(listener_->port());
  ASSERT_TRUE(accepted(1));
  EXPECT_EQ(keepAliveTowards(v4), (std::vector{30, 10, 3}));
  if (!machineHasIpv6()) return;
  const auto v6 = RawSocket::connectTo(listener_->port(), true);
  ASSERT_TRUE(accepted(2));
  EXPECT_EQ(keepAliveTowards(v6), (std::vector{30, 10, 3}));
}

TEST_F(AsioTcpListenerTest, saysWhyAPortCannotBeBound) {
  listen();
  const auto second = AsioTcpListenerFactory(loop_, ListenScope::loopback).listen(listener_->port());
  ASSERT_FALSE(second);
  EXPECT_EQ(second.error(),
            "Cannot listen on port " + std::to_string(listener_->port()) + ": Address already in use.");
}

TEST_F(AsioTcpListenerTest, failsWhenOnlyOneProtocolIsFree) {
  if (!machineHasIpv6()) GTEST_SKIP() << "this machine has no IPv6 loopback";
  const RawSocket other(test::openSocket(AF_INET6));
  const int on = 1;
  ::setsockopt(other.fd(), IPPROTO_IPV6, IPV6_V6ONLY, &on, sizeof on);
  sockaddr_in6 address{};
  address.sin6_family = AF_INET6;
  address.sin6_addr = in6addr_loopback;
  socklen_t size = sizeof address;
  ASSERT_EQ(::bind(other.fd(), reinterpret_cast<sockaddr*>(&address), size), 0);
  ASSERT_EQ(::listen(other.fd(), 1), 0);
  ::getsockname(other.fd(), reinterpret_cast<sockaddr*>(&address), &size);
  EXPECT_FALSE(AsioTcpListenerFactory(loop_, ListenScope::loopback).listen(ntohs(address.sin6_port)));
}

TEST_F(AsioTcpListenerTest, takesItsPortAgainWhileOldConnectionsLinger) {
  listen();
  const auto port = listener_->port();
  auto peer = RawSocket::connectTo(port);
  ASSERT_TRUE(accepted(1));
  // This side closes first, so that its end of the connection lingers in TIME_WAIT.
  queue_->sync([&] {
    connections_.clear();
    listener_.reset();
  });
  EXPECT_TRUE(peer.waitForEnd());
  peer.close();
  listen(ListenScope::loopback, port);
  EXPECT_EQ(listener_->port(), port);
}

TEST_F(AsioTcpListenerTest, reportsCancelledOnceAndStopsListening) {
  listen();
  const auto port = listener_->port();
  queue_->sync([&] {
    listener_->cancel();
    listener_->cancel();
  });
  EXPECT_EQ(states(), (std::vector<ListenerState>{ListenerState::ready, ListenerState::cancelled}));
  EXPECT_FALSE(RawSocket::connectTo(port).isOpen());
}

TEST_F(AsioTcpListenerTest, mayBeReleasedFromItsConnectionHandler) {
  listen();
  queue_->sync([&] {
    listener_->setConnectionHandler([this](std::unique_ptr<TcpConnection> connection) {
      listener_.reset();
      connections_.push_back(std::move(connection));
    });
  });
  const auto peer = RawSocket::connectTo(listener_->port());
  EXPECT_TRUE(accepted(1));
  EXPECT_EQ(states(), std::vector<ListenerState>{ListenerState::ready});
}

TEST_F(AsioTcpListenerTest, survivesAShortageOfDescriptors) {
  listen();
  auto first = RawSocket::connectTo(listener_->port());
  ASSERT_TRUE(accepted(1));
  auto second = RawSocket(test::openSocket(AF_INET));
  rlimit before{};
  ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
  const rlimit none{.rlim_cur = 0, .rlim_max = before.rlim_max};
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(listener_->port());
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  EXPECT_EQ(::connect(second.fd(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  // The loop gets time to meet the connection that it has no descriptor for.
  for (int turn = 0; turn < 1000; ++turn) queue_->sync([] {});
  queue_->sync([&] { EXPECT_EQ(connections_.size(), 1u); });
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
  EXPECT_TRUE(accepted(2));
  EXPECT_EQ(states(), std::vector<ListenerState>{ListenerState::ready});
}

TEST_F(AsioTcpListenerTest, failsWhenItsSocketIsBroken) {
  listen();
  for (const auto& entry : std::filesystem::directory_iterator("/dev/fd")) {
    const int fd = std::stoi(entry.path().filename());
    int listening = 0;
    socklen_t size = sizeof listening;
    if (::getsockopt(fd, SOL_SOCKET, SO_ACCEPTCONN, &listening, &size) == 0 && listening)
      ::shutdown(fd, SHUT_RD);
  }
  EXPECT_TRUE(eventually([&] { return states_.size() == 2; }));
  EXPECT_EQ(states(), (std::vector<ListenerState>{ListenerState::ready, ListenerState::failed}));
}

TEST_F(AsioTcpListenerTest, givesBackTheDescriptorsOfAThousandConnections) {
  listen();
  ASSERT_TRUE(RawSocket::connectTo(listener_->port()).isOpen());
  ASSERT_TRUE(accepted(1));
  queue_->sync([&] { connections_.clear(); });
  const auto descriptors = [] {
    const std::filesystem::directory_iterator all("/dev/fd");
    return std::distance(begin(all), end(all));
  };
  const auto before = descriptors();
  for (int i = 0; i < 1000; ++i) {
    auto peer = RawSocket::connectTo(listener_->port(), i % 2 == 0 && machineHasIpv6());
    ASSERT_TRUE(peer.isOpen());
    ASSERT_TRUE(accepted(1));
    queue_->sync([&] { connections_.clear(); });
    if (i % 3 == 0) peer.reset();
  }
  EXPECT_EQ(descriptors(), before);
}

TEST(AsioTcpListenerPreparation, reachesEachSocketBeforeItIsBound) {
  const auto loop = EventLoop::background(1);
  std::vector<sa_family_t> families;
  std::vector<in_port_t> ports;
  const auto prepare = [&](int descriptor) {
    sockaddr_storage address{};
    socklen_t length = sizeof address;
    ASSERT_EQ(::getsockname(descriptor, reinterpret_cast<sockaddr*>(&address), &length), 0);
    families.push_back(address.ss_family);
    // The port stands at the same place in both families' addresses.
    ports.push_back(reinterpret_cast<const sockaddr_in*>(&address)->sin_port);
  };
  const auto made = AsioTcpListenerFactory(loop, ListenScope::loopback, prepare).listen(0);
  ASSERT_TRUE(made) << made.error();
  ASSERT_FALSE(families.empty());
  EXPECT_EQ(families.front(), AF_INET);
  if (machineHasIpv6()) {
    EXPECT_EQ(families.back(), AF_INET6);
  }
  EXPECT_EQ(ports, std::vector<in_port_t>(ports.size(), 0));
}

}  // namespace
}  // namespace tevanto
