#include "tests/net/tcp/TcpConnectionContract.h"

#include <future>

namespace tevanto {
namespace {

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

TEST_P(TcpConnectionContract, givesOthersTheirTurnWhileThereIsMoreToRead) {
  start();
  const std::string all(1000, 'x');
  std::size_t readBeforeTurn = 0;
  onReceive_ = [&] {
    if (bytes_.size() == 1) bench_->queue()->async([&] { readBeforeTurn = bytes_.size(); });
    if (bytes_.size() < all.size()) receive(1);
  };
  bench_->peerSends(all);
  onQueue([&] { receive(1); });
  EXPECT_TRUE(bench_->settles([&] { return bytes_.size() == all.size(); }));
  EXPECT_GE(readBeforeTurn, 1u);
  EXPECT_LE(readBeforeTurn, 8u);
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
      connection_->send(std::as_bytes(std::span(part.data(), part.size())));
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
