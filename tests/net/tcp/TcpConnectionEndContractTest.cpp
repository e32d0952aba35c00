#include "tests/net/tcp/TcpConnectionContract.h"

namespace tevanto {
namespace {

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

}  // namespace
}  // namespace tevanto
