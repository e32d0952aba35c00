#include "net/web/AsioDialer.h"

#include <gtest/gtest.h>
#include <sys/socket.h>

#include <future>

#include "tests/support/web/TestHttpServer.h"

namespace tevanto {
namespace {

using boost::asio::ip::make_address;
using boost::asio::ip::tcp;

tcp::endpoint at(const char* address, std::uint16_t port = 1) { return {make_address(address), port}; }

TEST(AsioDialer, letsTheFamiliesTakeTurns) {
  const AsioDialer::Endpoints found = {at("2001:db8::1"), at("2001:db8::2"), at("2001:db8::3"),
                                       at("192.0.2.1"), at("192.0.2.2")};
  const AsioDialer::Endpoints expected = {at("2001:db8::1"), at("192.0.2.1"), at("2001:db8::2"),
                                          at("192.0.2.2"), at("2001:db8::3")};
  EXPECT_EQ(AsioDialer::interleaved(found), expected);
  const AsioDialer::Endpoints single = {at("192.0.2.1"), at("192.0.2.2")};
  EXPECT_EQ(AsioDialer::interleaved(single), single);
  EXPECT_TRUE(AsioDialer::interleaved({}).empty());
}

/// Dials on a background loop and tells the peer that was reached, or the error.
std::string dialed(const AsioDialer::Endpoints& endpoints) {
  const auto loop = EventLoop::background(1);
  const auto queue = loop->makeQueue("test");
  const auto dialer = std::make_shared<AsioDialer>(EventLoopQueue::from(*queue).strand());
  std::promise<std::string> reached;
  queue->async([&] {
    dialer->dial(endpoints, [&](const boost::system::error_code& error, AsioStrandSocket* socket) {
      reached.set_value(error ? error.message() : socket->remote_endpoint().address().to_string());
    });
  });
  return reached.get_future().get();
}

test::TestHttpServer anyServer(const char* address = "127.0.0.1") {
  return test::TestHttpServer([](const auto&) { return test::TestHttpReply{}; }, {}, address);
}

TEST(AsioDialer, goesOnToTheNextAddressWhenOneRefuses) {
  const auto server = anyServer();
  EXPECT_EQ(
      dialed({at("::1", server.port()), at("127.0.0.2", server.port()), at("127.0.0.1", server.port())}),
      "127.0.0.1");
}

TEST(AsioDialer, doesNotWaitForAnAddressThatKeepsSilent) {
  // A listener whose backlog is full drops what comes: the kernel would try for two minutes.
  boost::asio::io_context context;
  tcp::acceptor full(context, at("127.0.0.1", 0));
  full.listen(0);
  std::vector<tcp::socket> fillers;
  for (int i = 0; i < 4; ++i) {
    auto& filler = fillers.emplace_back(context);
    filler.open(tcp::v4());
    filler.native_non_blocking(true);
    const auto address = full.local_endpoint();
    (void)::connect(filler.native_handle(), address.data(), static_cast<socklen_t>(address.size()));
  }
  const auto server = anyServer("::1");
  EXPECT_EQ(dialed({full.local_endpoint(), at("::1", server.port())}), "::1");
}

TEST(AsioDialer, tellsTheLastErrorWhenNobodyAnswers) {
  std::uint16_t port = 0;
  { port = anyServer().port(); }
  EXPECT_EQ(dialed({at("127.0.0.1", port), at("::1", port)}), "Connection refused");
  EXPECT_EQ(dialed({}), "Host not found (authoritative)");
}

}  // namespace
}  // namespace tevanto
