#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <vector>

#include "core/EventLoop.h"
#include "net/AsioTcpConnection.h"
#include "net/AsioTcpListener.h"
#include "net/TcpConnection.h"
#include "tests/support/Eventually.h"
#include "tests/support/FakeTcpConnection.h"
#include "tests/support/ManualQueue.h"
#include "tests/support/RawSocket.h"

namespace tevanto {
namespace {

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
    door_ = test::RawSocket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
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
    if (!peer_.isOpen()) peer_ = test::RawSocket(::accept4(door_.fd(), nullptr, nullptr, SOCK_CLOEXEC));
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
    onQueue([&] { connection_->send(std::as_bytes(std::span(bytes))); });
  }

  /// Gives `bytes` away, the first few as the head of the rest, and counts in `processed_` when they are
  /// gone.
  void give(const std::string& bytes) {
    const auto span = std::as_bytes(std::span(bytes));
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

const States kLivedAndFailed = {ConnectionState::preparing, ConnectionState::ready, ConnectionState::failed};
const States kLivedAndCancelled = {ConnectionState::preparing, ConnectionState::ready,
                                   ConnectionState::cancelled};

TEST_P(TcpConnectionContract, becomesReadyByWayOfPreparing) {
  start();
  EXPECT_EQ(allStates(), (States{ConnectionState::preparing, ConnectionState::ready}));
}

TEST_P(TcpConnectionContract, bringsWhatThePeerSends) {
  start();
  receiveForEver();
  bench_->peerSends("hello ");
  bench_->peerSends("world");
  EXPECT_TRUE(bench_->settles([&] { return bytes_ == "hello world"; }));
}

TEST_P(TcpConnectionContract, bringsNoMoreThanAskedFor) {
  start();
  bench_->peerSends("abcdef");
  onReceive_ = [this] {
    if (bytes_.size() < 6) receive(2);
  };
  onQueue([&] { receive(2); });
  EXPECT_TRUE(bench_->settles([&] { return bytes_ == "abcdef"; }));
  EXPECT_EQ(reads_.size(), 3u);
}

TEST_P(TcpConnectionContract, receivesIntoTheMemoryThatItIsGiven) {
  start();
  const auto memory = std::make_shared<std::vector<std::byte>>(100);
  std::vector<const std::byte*> places;
  connection_->setReceiveHandler([&](const Received& received) {
    places.push_back(received.bytes.data());
    bytes_.append(reinterpret_cast<const char*>(received.bytes.data()), received.bytes.size());
    const auto rest = std::span(*memory).subspan(bytes_.size());
    if (!rest.empty()) connection_->receive({rest, memory});
  });
  onQueue([&] { connection_->receive({std::span(*memory).first(3), memory}); });
  bench_->peerSends("abcdefgh");
  EXPECT_TRUE(bench_->settles([&] { return bytes_ == "abcdefgh"; }));
  onQueue([&] {
    EXPECT_EQ(places.front(), memory->data());
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(memory->data()), 8), "abcdefgh");
  });
}

TEST_P(TcpConnectionContract, neverBringsMoreThanItsBufferIntoMemoryEither) {
  start();
  const auto memory = std::make_shared<std::vector<std::byte>>(300'000);
  lastAsked_ = TcpConnection::kMaxReceiveBytes;
  onQueue([&] { connection_->receive({*memory, memory}); });
  bench_->peerSends(std::string(300'000, 'x'));
  EXPECT_TRUE(bench_->settles([&] { return !reads_.empty(); }));
}

TEST_P(TcpConnectionContract, letsGoOfTheMemoryThatItReceivesInto) {
  auto memory = std::make_shared<std::vector<std::byte>>(100);
  const std::weak_ptr<std::vector<std::byte>> seen = memory;
  start();
  onQueue([&] {
    connection_->receive({*memory, std::move(memory)});
    EXPECT_FALSE(seen.expired());
  });
  onQueue([&] { connection_.reset(); });
  EXPECT_TRUE(bench_->settles([&] { return seen.expired(); }));
}

TEST_P(TcpConnectionContract, bringsNothingThatWasNotAskedFor) {
  start();
  bench_->peerSends("abc");
  onQueue([&] { receive(1); });
  EXPECT_TRUE(bench_->settles([&] { return bytes_ == "a"; }));
  allStates();
  EXPECT_EQ(bytes_, "a");
}

TEST_P(TcpConnectionContract, neverBringsMoreThanItsBufferAtOnce) {
  start();
  bench_->peerSends(std::string(20'000, 'x'));
  onReceive_ = [this] { receive(1'000'000); };
  onQueue([&] { receive(1'000'000); });
  EXPECT_TRUE(bench_->settles([&] { return bytes_.size() == 20'000; }));
  for (const auto& read : reads_) EXPECT_LE(read.size(), TcpConnection::kMaxReceiveBytes);
}

TEST_P(TcpConnectionContract, holdsAReceiveAndASendUntilItIsReady) {
  onQueue([&] {
    connection_->start(bench_->queue());
    receive();
    connection_->send(std::as_bytes(std::span("early", 5)));
  });
  EXPECT_EQ(bench_->peerReceives(5), "early");
  bench_->peerSends("answer");
  EXPECT_TRUE(bench_->settles([&] { return bytes_ == "answer"; }));
}

TEST_P(TcpConnectionContract, sendsInOrder) {
  start();
  std::string expected;
  onQueue([&] {
    for (int i = 0; i < 1000; ++i) {
      const auto part = std::to_string(i) + ",";
      connection_->send(std::as_bytes(std::span(part)));
      expected += part;
    }
  });
  EXPECT_EQ(bench_->peerReceives(expected.size()), expected);
  EXPECT_TRUE(bench_->settles([&] { return connection_->pendingBytes() == 0; }));
}

TEST_P(TcpConnectionContract, writesAtTheEndOfTheTurn) {
  start();
  onQueue([&] {
    connection_->send(std::as_bytes(std::span("ab", 2)));
    EXPECT_EQ(connection_->pendingBytes(), 2u);
    connection_->send(std::as_bytes(std::span("cd", 2)));
    EXPECT_EQ(connection_->pendingBytes(), 4u);
  });
  EXPECT_EQ(bench_->peerReceives(4), "abcd");
}

TEST_P(TcpConnectionContract, carriesManyMegabytesToAPeerThatReads) {
  start();
  const std::string part(1024 * 1024, 'm');
  for (int i = 0; i < 32; ++i) {
    send(part);
    ASSERT_EQ(bench_->peerReceives(part.size()), part);
  }
  EXPECT_EQ(allStates().back(), ConnectionState::ready);
}

TEST_P(TcpConnectionContract, sendsWhatItWasGivenInOrderWithTheRest) {
  start();
  std::string expected;
  for (int i = 0; i < 200; ++i) {
    const auto part = std::to_string(i) + std::string(static_cast<std::size_t>(i) * 7 % 100, '.');
    expected += part;
    if (i % 3 == 0) {
      send(part);
    } else {
      give(part);
    }
  }
  EXPECT_EQ(bench_->peerReceives(expected.size()), expected);
  EXPECT_TRUE(processes(133));
}

TEST_P(TcpConnectionContract, tellsInALaterTurnThatTheKernelHasTakenAll) {
  start();
  give("abc");
  give("");
  EXPECT_EQ(bench_->peerReceives(3), "abc");
  EXPECT_TRUE(processes(2));
}

TEST_P(TcpConnectionContract, countsWhatItWasGivenUntilTheKernelHasTakenIt) {
  start();
  onQueue([&] {
    const std::vector<std::byte> head(4);
    connection_->send(head, std::make_shared<std::vector<std::byte>>(69'996), [this] { noteProcessed(); });
    EXPECT_EQ(connection_->pendingBytes(), 70'000u);
  });
  EXPECT_EQ(bench_->peerReceives(70'000), std::string(70'000, '\0'));
  EXPECT_TRUE(processes(1));
  onQueue([&] { EXPECT_EQ(connection_->pendingBytes(), 0u); });
}

TEST_P(TcpConnectionContract, doesNotTellOfBytesThatTheKernelRefuses) {
  start();
  bench_->peerStopsReading();
  // More than the buffers of both kernels take.
  give(std::string(TcpConnection::kMaxPendingBytes, 'm'));
  give(std::string(64 * 1024, 'm'));
  allStates();
  onQueue([&] { EXPECT_EQ(processed_<2, connection_->pendingBytes()> 0); });
}

TEST_P(TcpConnectionContract, tellsOfBytesThatItsEndDropped) {
  onQueue([&] { connection_->start(bench_->queue()); });
  give("never sent");
  onQueue([&] { connection_->cancel(); });
  give("too late");
  EXPECT_TRUE(ends(ConnectionState::cancelled));
  EXPECT_TRUE(processes(2));
}

TEST_P(TcpConnectionContract, failsWhenMoreIsUnsentThanItKeeps) {
  start();
  bench_->peerStopsReading();
  const std::string part(1024 * 1024, 'm');
  bool within = true;
  // The kernel's own buffers take a few megabytes too.
  for (int i = 0; i < 64 && states_.size() < 3; ++i) {
    send(part);
    onQueue([&] { within &= connection_->pendingBytes() <= TcpConnection::kMaxPendingBytes; });
    allStates();
  }
  EXPECT_TRUE(within);
  EXPECT_TRUE(ends(ConnectionState::failed));
  EXPECT_EQ(allStates(), kLivedAndFailed);
  EXPECT_TRUE(bench_->peerSeesEnd());
  send("nobody hears this");
  onQueue([&] { EXPECT_EQ(connection_->pendingBytes(), 0u); });
}

TEST_P(TcpConnectionContract, failsAfterThePeerEndedItsStreamAndAllWasDelivered) {
  start();
  bench_->peerSends("last words");
  bench_->peerEndsStream();
  receiveForEver();
  EXPECT_TRUE(ends(ConnectionState::failed));
  EXPECT_EQ(bytes_, "last words");
  EXPECT_TRUE(ended_);
  EXPECT_EQ(allStates(), kLivedAndFailed);
  EXPECT_TRUE(bench_->peerSeesEnd());
}

TEST_P(TcpConnectionContract, offersWhatIsUnsentToThePeerThatEndedItsStream) {
  start();
  onReceive_ = [this] {
    if (ended_) {
      connection_->send(std::as_bytes(std::span("bye", 3)));
    } else {
      receive();
    }
  };
  onQueue([&] { receive(); });
  bench_->peerEndsStream();
  EXPECT_EQ(bench_->peerReceives(3), "bye");
  EXPECT_TRUE(ends(ConnectionState::failed));
}

TEST_P(TcpConnectionContract, failsWhenTheRoadBreaks) {
  start();
  receiveForEver();
  bench_->peerBreaks();
  EXPECT_TRUE(ends(ConnectionState::failed));
  EXPECT_EQ(allStates(), kLivedAndFailed);
}

TEST_P(TcpConnectionContract, reportsCancelledOnceAndInALaterTurn) {
  start();
  receiveForEver();
  onQueue([&] {
    connection_->cancel();
    connection_->cancel();
  });
  EXPECT_TRUE(ends(ConnectionState::cancelled));
  EXPECT_EQ(allStates(), kLivedAndCancelled);
  EXPECT_TRUE(bench_->peerSeesEnd());
  onQueue([&] { connection_->cancel(); });
  EXPECT_EQ(allStates(), kLivedAndCancelled);
}

TEST_P(TcpConnectionContract, reportsCancelledBeforeWorkThatWasQueuedAfterTheCall) {
  start();
  std::size_t statesBefore = 0;
  onQueue([&] {
    connection_->cancel();
    bench_->queue()->async([&] { statesBefore = states_.size(); });
  });
  EXPECT_TRUE(bench_->settles([&] { return statesBefore > 0; }));
  EXPECT_EQ(statesBefore, 3u);
}

TEST_P(TcpConnectionContract, isSilentAfterItsFinalState) {
  start();
  receiveForEver();
  onQueue([&] { connection_->cancel(); });
  EXPECT_TRUE(ends(ConnectionState::cancelled));
  bench_->peerSeesEnd();
  EXPECT_TRUE(bytes_.empty());
  EXPECT_FALSE(ended_);
  EXPECT_EQ(allStates(), kLivedAndCancelled);
}

TEST_P(TcpConnectionContract, mayBeCancelledFromItsReceiveHandler) {
  start();
  onReceive_ = [this] { connection_->cancel(); };
  onQueue([&] { receive(); });
  bench_->peerSends("x");
  EXPECT_TRUE(ends(ConnectionState::cancelled));
  EXPECT_EQ(allStates(), kLivedAndCancelled);
}

TEST_P(TcpConnectionContract, mayBeCancelledFromItsStateHandler) {
  onState_ = [this](ConnectionState state) {
    if (state == ConnectionState::ready) connection_->cancel();
  };
  onQueue([&] { connection_->start(bench_->queue()); });
  EXPECT_TRUE(ends(ConnectionState::cancelled));
  EXPECT_EQ(allStates(), kLivedAndCancelled);
}

TEST_P(TcpConnectionContract, mayBeReleasedFromItsReceiveHandler) {
  start();
  onReceive_ = [this] { connection_.reset(); };
  onQueue([&] { receive(); });
  bench_->peerSends("x");
  EXPECT_TRUE(bench_->settles([&] { return connection_ == nullptr; }));
  EXPECT_EQ(allStates(), (States{ConnectionState::preparing, ConnectionState::ready}));
  EXPECT_TRUE(bench_->peerSeesEnd());
}

TEST_P(TcpConnectionContract, mayBeReleasedFromItsStateHandler) {
  onState_ = [this](ConnectionState state) {
    if (state == ConnectionState::ready) connection_.reset();
  };
  onQueue([&] { connection_->start(bench_->queue()); });
  EXPECT_TRUE(bench_->settles([&] { return connection_ == nullptr; }));
  EXPECT_EQ(allStates(), (States{ConnectionState::preparing, ConnectionState::ready}));
}

TEST_P(TcpConnectionContract, isSilentOnceReleased) {
  start();
  receiveForEver();
  onQueue([&] {
    connection_->send({}, std::make_shared<std::vector<std::byte>>(10), [this] { noteProcessed(); });
    connection_->cancel();
    connection_.reset();
  });
  EXPECT_TRUE(bench_->peerSeesEnd());
  allStates();
  EXPECT_EQ(processed_, 0);
  EXPECT_EQ(allStates(), (States{ConnectionState::preparing, ConnectionState::ready}));
}

TEST_P(TcpConnectionContract, mayBeCancelledBeforeItIsReady) {
  onQueue([&] {
    connection_->start(bench_->queue());
    connection_->cancel();
  });
  EXPECT_TRUE(ends(ConnectionState::cancelled));
  EXPECT_EQ(allStates(), States{ConnectionState::cancelled});
}

INSTANTIATE_TEST_SUITE_P(Connections, TcpConnectionContract,
                         testing::Values(Kind{"fake", [] { return std::make_unique<FakeBench>(); }},
                                         Kind{"accepted", [] { return std::make_unique<AcceptedBench>(); }},
                                         Kind{"connecting",
                                              [] { return std::make_unique<ConnectingBench>(); }}),
                         [](const auto& kind) { return kind.param.name; });

/// Waits for the end of a connection that cannot come about.
States statesOfFailing(const std::string& host, std::uint16_t port) {
  auto loop = EventLoop::background(1);
  auto queue = loop->makeQueue("connection");
  auto connection = AsioTcpConnector(loop).connection(host, port);
  States states;
  connection->setStateHandler([&](ConnectionState state) { states.push_back(state); });
  connection->start(queue);
  EXPECT_TRUE(test::eventually([&] {
    bool ended = false;
    queue->sync([&] { ended = states.size() >= 2; });
    return ended;
  }));
  queue->sync([&] { connection.reset(); });
  return states;
}

TEST(AsioTcpConnector, failsWhenNobodyListens) {
  std::uint16_t unused = 0;
  {
    auto loop = EventLoop::background(1);
    unused = std::move(AsioTcpListenerFactory(loop, ListenScope::loopback).listen(0)).value()->port();
  }
  EXPECT_EQ(statesOfFailing("127.0.0.1", unused),
            (States{ConnectionState::preparing, ConnectionState::failed}));
}

TEST(AsioTcpConnector, failsWhenTheNameIsNoHost) {
  EXPECT_EQ(statesOfFailing("not a host name", 1),
            (States{ConnectionState::preparing, ConnectionState::failed}));
}

TEST(AsioTcpConnection, mayOutliveItsLoopAndBeReleasedWithoutOne) {
  std::unique_ptr<TcpConnection> connection;
  std::unique_ptr<TcpListener> listener;
  test::RawSocket peer;
  {
    auto loop = EventLoop::background(1);
    auto queue = loop->makeQueue("connection");
    listener = std::move(AsioTcpListenerFactory(loop, ListenScope::loopback).listen(0)).value();
    std::promise<void> received;
    listener->setConnectionHandler([&](auto accepted) {
      connection = std::move(accepted);
      connection->setReceiveHandler([&](const Received&) { received.set_value(); });
      connection->start(queue);
      connection->receive(1);
    });
    listener->start(queue);
    peer = test::RawSocket::connectTo(listener->port());
    peer.send("x");
    received.get_future().wait();
    queue->sync([&] { connection->receive(1); });
    loop->stop();
  }
  connection.reset();
  listener.reset();
  EXPECT_TRUE(peer.waitForEnd());
}

}  // namespace
}  // namespace tevanto
