#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/relay/RawWebSocket.h"
#include "tests/relay/RelayProcess.h"
#include "tests/relay/TestCertificate.h"
#include "tests/relay/TlsSocket.h"
#include "tests/support/programs/Eventually.h"
#include "tests/support/programs/TemporaryFolder.h"

namespace tevanto::relay {
namespace {

using test::RawWebSocket;
using test::RelayProcess;
using test::TlsSocket;
using testing::HasSubstr;
using testing::StartsWith;
using tevanto::test::eventually;

class RelayTlsTest : public testing::Test {
 protected:
  RelayTlsTest() { test::writeCertificate("first.example.org", certificate, key); }

  std::vector<std::string> options() const { return {"--certificate", certificate, "--private-key", key}; }
  static RawWebSocket connect(const std::shared_ptr<TlsSocket>& socket, const std::string& target) {
    return {RawWebSocket::Carrier{[socket](std::string_view bytes) { return socket->send(bytes); },
                                  [socket] { return socket->receive(); }},
            target};
  }
  static std::string ask(std::uint16_t port, const std::string& target) {
    TlsSocket socket(port);
    socket.send("GET " + target + " HTTP/1.1\r\nHost: relay\r\n\r\n");
    std::string answer;
    for (auto more = socket.receive(); !more.empty(); more = socket.receive()) answer += more;
    return answer;
  }

  tevanto::test::TemporaryFolder folder;
  std::string certificate = folder / "certificate.pem";
  std::string key = folder / "key.pem";
};

TEST_F(RelayTlsTest, carriesARoom) {
  RelayProcess relay(options());
  const auto macSocket = std::make_shared<TlsSocket>(relay.port());
  const auto phoneSocket = std::make_shared<TlsSocket>(relay.port());
  ASSERT_TRUE(macSocket->isOpen());
  EXPECT_EQ(macSocket->certificateName(), "first.example.org");
  auto mac = connect(macSocket, "/connect?room=a&role=mac");
  auto phone = connect(phoneSocket, "/connect?room=a&role=phone");
  ASSERT_TRUE(phone.isOpen());
  ASSERT_TRUE(eventually(
      [&] { return ask(relay.port(), "/metrics").find("{role=\"phone\"} 1\n") != std::string::npos; }));
  const std::string large(200'000, 'x');
  mac.sendText(large);
  EXPECT_EQ(phone.receiveMessage(), large);
  phone.sendText("back");
  EXPECT_EQ(mac.receiveMessage(), "back");
  relay.process().signal(SIGTERM);
  const auto close = mac.receiveClose();
  ASSERT_TRUE(close);
  EXPECT_EQ(close->closeCode(), 1001);
  EXPECT_EQ(relay.process().wait(), 0);
}

TEST_F(RelayTlsTest, answersRequests) {
  const RelayProcess relay(options());
  EXPECT_THAT(ask(relay.port(), "/healthz"), StartsWith("HTTP/1.1 200 OK\r\n"));
}

TEST_F(RelayTlsTest, keepsWhatASlowReaderHasNotTaken) {
  RelayProcess relay(options());
  auto mac = connect(std::make_shared<TlsSocket>(relay.port()), "/connect?room=a&role=mac");
  const auto phoneSocket = std::make_shared<TlsSocket>(relay.port());
  auto phone = connect(phoneSocket, "/connect?room=a&role=phone");
  ASSERT_TRUE(phone.isOpen());
  ASSERT_TRUE(eventually(
      [&] { return ask(relay.port(), "/metrics").find("{role=\"phone\"} 1\n") != std::string::npos; }));
  // More than the sockets take, so that records wait half written; less than what ends a member.
  constexpr int kMessages = 12;
  for (int number = 0; number < kMessages; ++number)
    ASSERT_TRUE(mac.sendText(std::string(60'000, static_cast<char>('a' + number))));
  for (int number = 0; number < kMessages; ++number) {
    const auto message = phone.receiveMessage();
    ASSERT_TRUE(message) << number;
    EXPECT_EQ(*message, std::string(60'000, static_cast<char>('a' + number)));
  }
}

TEST_F(RelayTlsTest, dropsWhoDoesNotReadAtAll) {
  RelayProcess relay(options());
  auto mac = connect(std::make_shared<TlsSocket>(relay.port()), "/connect?room=a&role=mac");
  auto phone = connect(std::make_shared<TlsSocket>(relay.port()), "/connect?room=a&role=phone");
  ASSERT_TRUE(phone.isOpen());
  const auto slow = [&] {
    return ask(relay.port(), "/metrics").find("members_ended_total{reason=\"slow\"} 1\n") !=
           std::string::npos;
  };
  for (int sent = 0; sent < 190 && !slow(); ++sent) ASSERT_TRUE(mac.sendText(std::string(250'000, 'x')));
  EXPECT_TRUE(eventually(slow));
  auto next = connect(std::make_shared<TlsSocket>(relay.port()), "/connect?room=a&role=phone");
  ASSERT_TRUE(next.isOpen());
  ASSERT_TRUE(eventually(
      [&] { return ask(relay.port(), "/metrics").find("{role=\"phone\"} 1\n") != std::string::npos; }));
  next.sendText("hello");
  EXPECT_EQ(mac.receiveMessage(), "hello");
}

TEST_F(RelayTlsTest, refusesOldVersionsAndPlainText) {
  const RelayProcess relay(options());
  EXPECT_FALSE(TlsSocket(relay.port(), TLS1_1_VERSION).isOpen());
  EXPECT_TRUE(TlsSocket(relay.port(), TLS1_2_VERSION).isOpen());
  EXPECT_EQ(relay.ask("/healthz").find("HTTP/"), std::string::npos);
}

TEST_F(RelayTlsTest, givesAHandshakeNoMoreTimeThanARequest) {
  auto all = options();
  all.insert(all.end(), {"--request-timeout", "0.3"});
  const RelayProcess relay(all);
  EXPECT_TRUE(tevanto::test::RawSocket::connectTo(relay.port()).waitForEnd());
}

TEST_F(RelayTlsTest, readsItsCertificateAgainOnSighup) {
  RelayProcess relay(options());
  const auto before = std::make_shared<TlsSocket>(relay.port());
  auto mac = connect(before, "/connect?room=a&role=mac");
  ASSERT_TRUE(mac.isOpen());
  test::writeCertificate("second.example.org", certificate, key);
  relay.process().signal(SIGHUP);
  EXPECT_TRUE(eventually([&] { return TlsSocket(relay.port()).certificateName() == "second.example.org"; }));
  // Who was there stays.
  auto phone = connect(std::make_shared<TlsSocket>(relay.port()), "/connect?room=a&role=phone");
  mac.sendFrame(RawWebSocket::kPing, "x");
  const auto pong = mac.receive();
  ASSERT_TRUE(pong);
  EXPECT_EQ(pong->opcode, RawWebSocket::kPong);
  phone.sendText("hello");
  EXPECT_EQ(mac.receiveMessage(), "hello");
}

TEST_F(RelayTlsTest, keepsItsCertificateWhenTheNewOneIsBroken) {
  RelayProcess relay(options(), {.environment = {}, .mergeErrors = true});
  std::ofstream(certificate) << "nothing";
  relay.process().signal(SIGHUP);
  EXPECT_THAT(relay.process().readLine().value_or(""),
              HasSubstr("Cannot use the certificate " + certificate));
  EXPECT_EQ(TlsSocket(relay.port()).certificateName(), "first.example.org");
}

}  // namespace
}  // namespace tevanto::relay
