#include "tests/support/network/PacketBridge.h"

#include <gtest/gtest.h>

#include <regex>

namespace tevanto {
namespace {

using test::NetworkNamespace;
using test::PacketBridge;
using namespace std::chrono_literals;

/// near -- (middle: the bridge) -- far
class PacketBridgeTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!NetworkNamespace::permitted()) GTEST_SKIP() << "networks of its own need root";
    near_ = std::make_unique<NetworkNamespace>("near");
    middle_ = std::make_unique<NetworkNamespace>("middle");
    far_ = std::make_unique<NetworkNamespace>("far");
    NetworkNamespace::connect(*near_, "eth0", *middle_, "one");
    NetworkNamespace::connect(*far_, "eth0", *middle_, "other");
    near_->run({"ip", "address", "add", "10.7.0.1/24", "dev", "eth0"});
    far_->run({"ip", "address", "add", "10.7.0.2/24", "dev", "eth0"});
    bridge_ = std::make_unique<PacketBridge>(*middle_, "one", "other");
  }

  /// Answers to `count` pings, and the fastest of them in milliseconds.
  std::pair<int, double> ping(int count) const {
    const auto output = test::runProgram(near_->inside({"ping", "-q", "-c", std::to_string(count), "-i",
                                                        "0.01", "-W", "1", "10.7.0.2"}))
                            .output;
    std::smatch found;
    const int answered =
        std::regex_search(output, found, std::regex(R"((\d+) received)")) ? std::stoi(found[1]) : -1;
    const double fastest =
        std::regex_search(output, found, std::regex(R"(= ([\d.]+)/)")) ? std::stod(found[1]) : -1;
    return {answered, fastest};
  }

  /// Sends 40 MB over TCP; whether they came whole.
  bool transfers() const {
    test::ChildProcess server(far_->inside({"python3", "-c",
                                            "import socket,hashlib\n"
                                            "s=socket.create_server(('10.7.0.2',7000))\n"
                                            "print('up',flush=True)\n"
                                            "c,_=s.accept();h=hashlib.sha256()\n"
                                            "while b:=c.recv(65536): h.update(b)\n"
                                            "print(h.hexdigest(),flush=True)\n"}));
    if (server.readLine() != "up") return false;
    const auto sent =
        test::runProgram(near_->inside({"python3", "-c",
                                        "import socket,hashlib\n"
                                        "c=socket.create_connection(('10.7.0.2',7000));h=hashlib.sha256()\n"
                                        "for i in range(640):\n"
                                        "  b=i.to_bytes(4,'big')*16384;h.update(b);c.sendall(b)\n"
                                        "c.close();print(h.hexdigest())\n"}));
    return server.readLine().value_or("none") + "\n" == sent.output;
  }

  std::unique_ptr<NetworkNamespace> near_;
  std::unique_ptr<NetworkNamespace> middle_;
  std::unique_ptr<NetworkNamespace> far_;
  std::unique_ptr<PacketBridge> bridge_;
};

TEST_F(PacketBridgeTest, carriesEverythingOnAGoodLine) {
  EXPECT_EQ(ping(50).first, 50);
  EXPECT_TRUE(transfers()) << "joined segments too";
  EXPECT_EQ(bridge_->dropped(), 0U);
}

TEST_F(PacketBridgeTest, losesTheShareItIsToldTo) {
  ASSERT_EQ(ping(1).first, 1) << "they know one another's hardware addresses";
  bridge_->set({.loss = 0.25});
  const auto answered = ping(200).first;
  EXPECT_GT(answered, 70);  // 200 * 0.75 * 0.75 = 112
  EXPECT_LT(answered, 155);
}

TEST_F(PacketBridgeTest, delaysBothWays) {
  bridge_->set({.delay = 50ms});
  const auto [answered, fastest] = ping(10);
  EXPECT_EQ(answered, 10);
  EXPECT_GE(fastest, 100);
}

TEST_F(PacketBridgeTest, passesNothingWhileItIsCut) {
  ASSERT_EQ(ping(1).first, 1);
  bridge_->set({.isCut = true});
  EXPECT_EQ(ping(3).first, 0);
  bridge_->set({});
  EXPECT_EQ(ping(3).first, 3);
}

TEST_F(PacketBridgeTest, carriesTCPUnderLossAndReordering) {
  bridge_->set({.loss = 0.01, .reorder = 0.2});
  EXPECT_TRUE(transfers());
  EXPECT_GT(bridge_->dropped(), 0U);
}

}  // namespace
}  // namespace tevanto
