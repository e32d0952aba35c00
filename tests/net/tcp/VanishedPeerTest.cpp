#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "net/tcp/AsioTcpListenerFactory.h"
#include "tests/support/network/NetworkNamespace.h"
#include "tests/support/peers/RawSocket.h"
#include "tests/support/programs/Eventually.h"

namespace tevanto {
namespace {

using test::NetworkNamespace;
using test::RawSocket;
using namespace std::chrono_literals;

/// A listener on a computer, a phone in a network of its own, and a cable between them.
class VanishedPeer : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!NetworkNamespace::permitted()) GTEST_SKIP() << "networks of its own need root";
    computer_ = std::make_unique<NetworkNamespace>("computer");
    phone_ = std::make_unique<NetworkNamespace>("phone");
    NetworkNamespace::connect(*computer_, "eth0", *phone_, "eth0");
    computer_->run({"ip", "address", "add", "10.7.0.1/24", "dev", "eth0"});
    phone_->run({"ip", "address", "add", "10.7.0.2/24", "dev", "eth0"});
  }
  ~VanishedPeer() override {
    queue_->sync([this] {
      connection_.reset();
      listener_.reset();
    });
    loop_->stop();
  }

  void listen(const KeepAlive& keepAlive) {
    computer_->enter([&] {
      auto made = AsioTcpListenerFactory(loop_, ListenScope::everywhere, nullptr, keepAlive).listen(0);
      ASSERT_TRUE(made) << made.error();
      listener_ = std::move(made).value();
    });
    ASSERT_TRUE(listener_);
    listener_->setConnectionHandler([this](std::unique_ptr<TcpConnection> connection) {
      connection_ = std::move(connection);
      connection_->setStateHandler([this](ConnectionState state) { states_.push_back(state); });
      connection_->start(queue_);
      connection_->receive(1);
    });
    listener_->start(queue_);
  }
  RawSocket connect() const {
    RawSocket socket;
    phone_->enter([&] {
      socket = RawSocket(::socket(AF_INET, SOCK_STREAM, 0));
      sockaddr_in address{};
      address.sin_family = AF_INET;
      address.sin_port = htons(listener_->port());
      ::inet_pton(AF_INET, "10.7.0.1", &address.sin_addr);
      if (::connect(socket.fd(), reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) socket.close();
    });
    return socket;
  }
  /// The kernel's timers run by the clock: this waits for what they bring.
  bool comesTo(ConnectionState state) {
    return test::eventually(
        [&] {
          bool reached = false;
          queue_->sync([&] { reached = !states_.empty() && states_.back() == state; });
          return reached;
        },
        60s);
  }

  std::unique_ptr<NetworkNamespace> computer_;
  std::unique_ptr<NetworkNamespace> phone_;
  std::shared_ptr<EventLoop> loop_ = EventLoop::background(1);
  std::shared_ptr<SerialQueue> queue_ = loop_->makeQueue("listener");
  std::unique_ptr<TcpListener> listener_;
  std::unique_ptr<TcpConnection> connection_;
  std::vector<ConnectionState> states_;
};

TEST_F(VanishedPeer, endsItsConnectionWithoutAWord) {
  listen({.silence = 1s, .interval = 1s, .questions = 2});
  const auto socket = connect();
  ASSERT_TRUE(socket.isOpen());
  ASSERT_TRUE(comesTo(ConnectionState::ready));
  phone_->run({"ip", "link", "set", "eth0", "down"});
  EXPECT_TRUE(comesTo(ConnectionState::failed));
}

}  // namespace
}  // namespace tevanto
