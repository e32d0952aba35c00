#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <vector>

#include "core/queue/EventLoop.h"
#include "net/tcp/AsioTcpConnector.h"
#include "net/tcp/AsioTcpListenerFactory.h"
#include "net/tcp/TcpConnection.h"
#include "tests/support/fakes/FakeTcpConnection.h"
#include "tests/support/fakes/ManualQueue.h"
#include "tests/support/peers/RawSocket.h"
#include "tests/support/peers/Sockets.h"
#include "tests/support/programs/Eventually.h"

/// What holds of every implementation of a connection, the fake included; its tests stand in several files.
namespace tevanto {

using States = std::vector<ConnectionState>;

/// One connection under test, its queue, and its peer in the hands of the test.
class Bench {
 public:
  virtual ~Bench() = default;
  virtual std::shared_ptr<SerialQueue> queue() = 0;
  /// The connection, not yet started.
  virtual std::unique_ptr<TcpConnection> connection() = 0;
  virtual void peerSends(const std::string& bytes) = 0;
  virtual void peerEndsStream() = 0;
  virtual void peerBreaks() = 0;
  /// What the peer received; at least `size` bytes unless the stream ended first.
  virtual std::string peerReceives(std::size_t size) = 0;
  /// The peer reads no more, so that the kernel takes less than 8 MiB.
  virtual void peerStopsReading() = 0;
  /// Whether the peer sees the connection end.
  virtual bool peerSeesEnd() = 0;
  /// Lets things happen until `condition`, which is asked on the queue.
  virtual bool settles(std::function<bool()> condition) = 0;
};

class FakeBench final : public Bench {
 public:
  std::shared_ptr<SerialQueue> queue() override { return queue_; }
  std::unique_ptr<TcpConnection> connection() override {
    return std::make_unique<test::FakeTcpConnection>(peer_);
  }
  void peerSends(const std::string& bytes) override { peer_->send(bytes); }
  void peerEndsStream() override { peer_->endStream(); }
  void peerBreaks() override { peer_->fail(); }
  std::string peerReceives(std::size_t) override {
    queue_->runPending();
    return std::exchange(peer_->received, {});
  }
  void peerStopsReading() override { peer_->window = 1024 * 1024; }
  bool peerSeesEnd() override {
    queue_->runPending();
    return peer_->isEnded();
  }
  bool settles(std::function<bool()> condition) override {
    queue_->runPending();
    return condition();
  }

 private:
  std::shared_ptr<test::ManualQueue> queue_ = std::make_shared<test::ManualQueue>("connection");
  std::shared_ptr<test::FakeTcpPeer> peer_ = std::make_shared<test::FakeTcpPeer>();
};

/// Real sockets on loopback: `accepted` says which end of the handshake is under test.
class SocketBench : public Bench {
 public:
  std::shared_ptr<SerialQueue> queue() override { return queue_; }
  void peerSends(const std::string& bytes) override { EXPECT_TRUE(peer_.send(bytes)); }
  void peerEndsStream() override { peer_.endStream(); }
  void peerBreaks() override { peer_.reset(); }
  std::string peerReceives(std::size_t size) override { return peer_.receive(size); }
  void peerStopsReading() override {}
  bool peerSeesEnd() override { return peer_.waitForEnd(); }
  bool settles(std::function<bool()> condition) override {
    return test::eventually([&] {
      bool holds = false;
      queue_->sync([&] { holds = condition(); });
      return holds;
    });
  }

 protected:
  std::shared_ptr<EventLoop> loop_ = EventLoop::background(1);
  std::shared_ptr<SerialQueue> queue_ = loop_->makeQueue("connection");
  test::RawSocket peer_;
};

class AcceptedBench final : public SocketBench {
 public:
  ~AcceptedBench() override {
    queue_->sync([&] { listener_.reset(); });
  }
  std::unique_ptr<TcpConnection> connection() override {
    listener_ = std::move(AsioTcpListenerFactory(loop_, ListenScope::loopback).listen(0)).value();
    std::promise<std::unique_ptr<TcpConnection>> accepted;
    listener_->setConnectionHandler([&](auto connection) { accepted.set_value(std::move(connection)); });
    listener_->start(queue_);
    peer_ = test::RawSocket::connectTo(listener_->port());
    return accepted.get_future().get();
  }

 private:
  std::unique_ptr<TcpListener> listener_;
};

class ConnectingBench final : public SocketBench {
 public:
  std::unique_ptr<TcpConnection> connection() override {
    door_ = test::RawSocket(test::openSocket(AF_INET));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    EXPECT_EQ(::bind(door_.fd(), reinterpret_cast<sockaddr*>(&address), size), 0);
    EXPECT_EQ(::listen(door_.fd(), 1), 0);
    ::getsockname(door_.fd(), reinterpret_cast<sockaddr*>(&address), &size);
    return AsioTcpConnector(loop_).connection("127.0.0.1", ntohs(address.sin_port));
  }
  void peerSends(const std::string& bytes) override { meet(), SocketBench::peerSends(bytes); }
  void peerEndsStream() override { meet(), SocketBench::peerEndsStream(); }
  void peerBreaks() override { meet(), SocketBench::peerBreaks(); }
  std::string peerReceives(std::size_t size) override { return meet(), SocketBench::peerReceives(size); }
  bool peerSeesEnd() override { return meet(), SocketBench::peerSeesEnd(); }

 private:
  void meet() {
    if (!peer_.isOpen()) peer_ = test::RawSocket(test::acceptSocket(door_.fd()));
  }

  test::RawSocket door_;
};

struct Kind {
  const char* name;
  std::function<std::unique_ptr<Bench>()> make;
};

class TcpConnectionContract : public testing::TestWithParam<Kind> {
 protected:
  void SetUp() override {
    bench_ = GetParam().make();
    connection_ = bench_->connection();
    connection_->setStateHandler([this](ConnectionState state) {
      EXPECT_TRUE(bench_->queue()->isCurrent());
      EXPECT_FALSE(inCall_);
      states_.push_back(state);
      if (onState_) onState_(state);
    });
    connection_->setReceiveHandler([this](const Received& received) {
      EXPECT_TRUE(bench_->queue()->isCurrent());
      EXPECT_FALSE(inCall_);
      EXPECT_FALSE(ended_) << "after the end of the stream";
      EXPECT_LE(received.bytes.size(), lastAsked_);
      reads_.emplace_back(reinterpret_cast<const char*>(received.bytes.data()), received.bytes.size());
      bytes_ += reads_.back();
      ended_ = received.endOfStream;
      if (onReceive_) onReceive_();
    });
  }

  void TearDown() override {
    onQueue([&] { connection_.reset(); });
    bench_.reset();
  }

  /// Runs `work` on the queue; no callback may come from inside it.
  void onQueue(std::function<void()> work) {
    bench_->queue()->sync([&] {
      inCall_ = true;
      work();
      inCall_ = false;
    });
  }

  void start() {
    onQueue([&] { connection_->start(bench_->queue()); });
    EXPECT_TRUE(
        bench_->settles([&] { return !states_.empty() && states_.back() == ConnectionState::ready; }));
  }

  void receive(std::size_t maxBytes = 4096) {
    lastAsked_ = maxBytes;
    connection_->receive(maxBytes);
  }
  void receiveForEver() {
    onReceive_ = [this] {
      if (!ended_) receive();
    };
    onQueue([&] { receive(); });
  }

  void send(const std::string& bytes) {
    onQueue([&] { connection_->send(std::as_bytes(std::span(bytes.data(), bytes.size()))); });
  }

  /// Gives `bytes` away, the first few as the head of the rest, and counts in `processed_` when they are
  /// gone.
  void give(const std::string& bytes) {
    const auto span = std::as_bytes(std::span(bytes.data(), bytes.size()));
    const auto head = span.first(std::min<std::size_t>(4, span.size()));
    const auto body = span.subspan(head.size());
    onQueue([&] {
      connection_->send(head, std::make_shared<std::vector<std::byte>>(body.begin(), body.end()),
                        [this] { noteProcessed(); });
    });
  }
  void noteProcessed() {
    EXPECT_TRUE(bench_->queue()->isCurrent());
    EXPECT_FALSE(inCall_);
    ++processed_;
  }
  bool processes(int count) {
    return bench_->settles([&] { return processed_ == count; });
  }

  bool ends(ConnectionState state) {
    return bench_->settles([&] { return !states_.empty() && states_.back() == state; });
  }

  /// Lets everything that could still come, come, and says what states there were.
  States allStates() {
    States seen;
    for (int turn = 0; turn < 3; ++turn) {
      bench_->settles([&] {
        seen = states_;
        return true;
      });
    }
    return seen;
  }

  std::unique_ptr<Bench> bench_;
  std::unique_ptr<TcpConnection> connection_;
  States states_;
  std::vector<std::string> reads_;
  std::string bytes_;
  bool ended_ = false;
  bool inCall_ = false;
  std::size_t lastAsked_ = 0;
  int processed_ = 0;
  std::function<void(ConnectionState)> onState_;
  std::function<void()> onReceive_;
};

inline const States kLivedAndFailed = {ConnectionState::preparing, ConnectionState::ready,
                                       ConnectionState::failed};
inline const States kLivedAndCancelled = {ConnectionState::preparing, ConnectionState::ready,
                                          ConnectionState::cancelled};

}  // namespace tevanto
