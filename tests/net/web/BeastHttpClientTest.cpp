#include "net/web/BeastHttpClient.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <future>

#include "tests/support/web/TestHttpServer.h"

namespace tevanto {
namespace {

using test::TestAuthority;
using test::TestHttpReply;
using test::TestHttpRequest;
using test::TestHttpServer;
using ::testing::HasSubstr;

std::string headerOf(const HttpResponse& response, const std::string& name) {
  for (const auto& [key, value] : response.headers) {
    if (key == name) return value;
  }
  return {};
}

class BeastHttpClientTest : public ::testing::Test {
 protected:
  Result<HttpResponse> send(HttpRequest request) { return send(*client_, std::move(request)); }
  Result<HttpResponse> send(HttpClient& client, HttpRequest request) {
    std::promise<Result<HttpResponse>> answered;
    auto answer = answered.get_future();
    client.send(std::move(request), queue_, [&](Result<HttpResponse> result) {
      EXPECT_TRUE(queue_->isCurrent());
      answered.set_value(std::move(result));
    });
    return answer.get();
  }
  Result<HttpResponse> get(const std::string& url) { return send({.url = url}); }
  std::string failureOf(const std::string& url) {
    const auto result = get(url);
    return result ? "answered with " + std::to_string(result.value().status) : result.error();
  }
  std::string failureOf(const std::string& url, const TlsTrust& trust) {
    client_ = std::make_unique<BeastHttpClient>(loop_, trust);
    return failureOf(url);
  }
  std::string failureOfAnswer(const std::string& raw) {
    TestHttpServer server([&](const TestHttpRequest&) { return TestHttpReply{.raw = raw}; });
    return failureOf("http://" + server.authority());
  }

  static TestHttpReply hello(const TestHttpRequest&) { return {.body = "hello"}; }

  std::shared_ptr<EventLoop> loop_ = EventLoop::background(2);
  std::shared_ptr<SerialQueue> queue_ = loop_->makeQueue("test");
  std::unique_ptr<BeastHttpClient> client_ = std::make_unique<BeastHttpClient>(loop_);
};

TEST_F(BeastHttpClientTest, asksAndReadsTheAnswer) {
  std::promise<TestHttpRequest> asked;
  TestHttpServer server([&](const TestHttpRequest& request) {
    asked.set_value(request);
    return TestHttpReply{.status = 201, .headers = {{"X-Kind", "test"}}, .body = "made"};
  });
  const auto result = send({.method = "POST",
                            .url = "http://" + server.authority() + "/things?a=%20b",
                            .headers = {{"Content-Type", "text/plain"}, {"X-Room", "r"}},
                            .body = "thing",
                            .timeout = std::chrono::minutes(1)});
  ASSERT_TRUE(result) << result.error();
  EXPECT_EQ(result.value().status, 201);
  EXPECT_EQ(result.value().body, "made");
  EXPECT_EQ(headerOf(result.value(), "X-Kind"), "test");
  const auto request = asked.get_future().get();
  EXPECT_EQ(request.method, "POST");
  EXPECT_EQ(request.target, "/things?a=%20b");
  EXPECT_EQ(request.header("Host"), server.authority());
  EXPECT_EQ(request.header("Content-Type"), "text/plain");
  EXPECT_EQ(request.header("X-Room"), "r");
  EXPECT_EQ(request.header("Content-Length"), "5");
  EXPECT_EQ(request.body, "thing");
}

TEST_F(BeastHttpClientTest, takesAnyStatusForAnAnswer) {
  TestHttpServer server([](const TestHttpRequest& request) {
    return TestHttpReply{.status = std::stoi(request.target.substr(1)), .body = "why"};
  });
  for (const int status : {200, 302, 401, 404, 500, 503}) {
    const auto result = get("http://" + server.authority() + "/" + std::to_string(status));
    ASSERT_TRUE(result) << result.error();
    EXPECT_EQ(result.value().status, status);
    EXPECT_EQ(result.value().body, "why");
  }
}

TEST_F(BeastHttpClientTest, readsEveryFormOfBody) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"HTTP/1.1 200 OK\r\nContent-Length: 3\r\n\r\nabcdef", "abc"},
      {"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n2\r\nab\r\n1\r\nc\r\n0\r\n\r\n", "abc"},
      {"HTTP/1.1 200 OK\r\n\r\nto the end", "to the end"},
      {"HTTP/1.0 200 OK\r\nConnection: close\r\n\r\nold", "old"},
      {"HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 200 OK\r\nContent-Length: 1\r\n\r\nx", "x"},
      {"HTTP/1.1 204 No Content\r\n\r\n", ""}};
  for (const auto& [raw, body] : cases) {
    TestHttpServer server([answer = raw](const TestHttpRequest&) { return TestHttpReply{.raw = answer}; });
    const auto result = get("http://" + server.authority());
    ASSERT_TRUE(result) << raw << ": " << result.error();
    EXPECT_EQ(result.value().body, body);
  }
}

TEST_F(BeastHttpClientTest, awaitsNoBodyOfAHeadRequest) {
  TestHttpServer server([](const TestHttpRequest&) {
    return TestHttpReply{.raw = "HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\n"};
  });
  const auto result = send({.method = "HEAD", .url = "http://" + server.authority()});
  ASSERT_TRUE(result) << result.error();
  EXPECT_EQ(result.value().status, 200);
}

TEST_F(BeastHttpClientTest, failsOnABrokenAnswer) {
  for (const char* raw :
       {"", "nonsense\r\n\r\n", "HTTP/1.1 200 OK\r\n", "HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\nshort",
        "HTTP/1.1 200 OK\r\nContent-Length: x\r\n\r\n",
        "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n5\r\nab"}) {
    EXPECT_THAT(failureOfAnswer(raw), HasSubstr("no answer from 127.0.0.1")) << raw;
  }
}

TEST_F(BeastHttpClientTest, boundsTheAnswer) {
  EXPECT_THAT(failureOfAnswer("HTTP/1.1 200 OK\r\nContent-Length: 8388609\r\n\r\n"), HasSubstr("body limit"));
  EXPECT_THAT(failureOfAnswer("HTTP/1.1 200 OK\r\n\r\n" + std::string(HttpClient::kMaxBodyBytes + 1, 'x')),
              HasSubstr("body limit"));
  EXPECT_THAT(failureOfAnswer("HTTP/1.1 200 OK\r\nX: " + std::string(70'000, 'x') + "\r\n\r\n"),
              HasSubstr("header limit"));
  TestHttpServer server([](const TestHttpRequest&) {
    return TestHttpReply{.body = std::string(HttpClient::kMaxBodyBytes, 'x')};
  });
  const auto largest = get("http://" + server.authority());
  ASSERT_TRUE(largest) << largest.error();
  EXPECT_EQ(largest.value().body.size(), HttpClient::kMaxBodyBytes);
}

TEST_F(BeastHttpClientTest, givesUpOnAServerThatKeepsSilent) {
  TestHttpServer server([](const TestHttpRequest&) { return TestHttpReply{.silence = true}; });
  const auto result = send({.url = "http://" + server.authority(), .timeout = std::chrono::milliseconds(50)});
  ASSERT_FALSE(result);
  EXPECT_EQ(result.error(), server.authority() + " took too long");
}

TEST_F(BeastHttpClientTest, failsWhereNobodyListensAndOnUnknownNames) {
  std::string nobody;
  {
    TestHttpServer server(hello);
    nobody = server.authority();
  }
  EXPECT_EQ(failureOf("http://" + nobody), "no connection to " + nobody + ": Connection refused");
  EXPECT_THAT(failureOf("http://nobody.invalid/"), HasSubstr("no connection to nobody.invalid: "));
}

TEST_F(BeastHttpClientTest, failsOnWhatIsNoRequest) {
  EXPECT_EQ(failureOf("ws://127.0.0.1/"), "no such HTTP address: ws://127.0.0.1/");
  EXPECT_EQ(failureOf("nonsense"), "no such HTTP address: nonsense");
  TestHttpServer server(hello);
  const std::string url = "http://" + server.authority();
  const HttpRequest badMethod{.method = "GET / HTTP/1.1\r\nX: y", .url = url};
  const HttpRequest badName{.url = url, .headers = {{"X: y\r\nZ", "v"}}};
  const HttpRequest badValue{.url = url, .headers = {{"X", "v\r\nHost: elsewhere"}}};
  for (const auto& request : {badMethod, badName, badValue}) {
    const auto result = send(request);
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error(), "no HTTP request can have this method or these fields");
  }
  EXPECT_EQ(server.connectionCount(), 0);
}

TEST_F(BeastHttpClientTest, speaksIPv6AndNames) {
  std::promise<TestHttpRequest> asked;
  TestHttpServer server(
      [&](const TestHttpRequest& request) {
        asked.set_value(request);
        return TestHttpReply{};
      },
      {}, "::1");
  ASSERT_TRUE(get("http://" + server.authority()));
  EXPECT_EQ(asked.get_future().get().header("Host"), "[::1]:" + std::to_string(server.port()));
  TestHttpServer named(hello);
  EXPECT_TRUE(get("http://localhost:" + std::to_string(named.port())));
}

TEST_F(BeastHttpClientTest, trustsAServerThatProvesItsName) {
  const TestAuthority authority;
  std::promise<std::string> serverName;
  TestHttpServer server(
      [&](const TestHttpRequest& request) {
        serverName.set_value(request.serverName);
        return TestHttpReply{.body = "secret"};
      },
      authority.issue({"DNS:localhost"}));
  client_ = std::make_unique<BeastHttpClient>(loop_, TlsTrust{authority.certificatePem()});
  const auto result = get("https://localhost:" + std::to_string(server.port()));
  ASSERT_TRUE(result) << result.error();
  EXPECT_EQ(result.value().body, "secret");
  EXPECT_EQ(serverName.get_future().get(), "localhost");
}

TEST_F(BeastHttpClientTest, trustsAServerThatProvesItsAddress) {
  const TestAuthority authority;
  std::promise<std::string> serverName;
  TestHttpServer server(
      [&](const TestHttpRequest& request) {
        serverName.set_value(request.serverName);
        return TestHttpReply{};
      },
      authority.issue({"IP:127.0.0.1"}));
  client_ = std::make_unique<BeastHttpClient>(loop_, TlsTrust{authority.certificatePem()});
  EXPECT_TRUE(get("https://" + server.authority()));
  EXPECT_EQ(serverName.get_future().get(), "");  // the server name is for names only
}

TEST_F(BeastHttpClientTest, refusesAServerThatIsSomebodyElse) {
  const TestAuthority authority;
  const TlsTrust trust{authority.certificatePem()};
  TestHttpServer otherName(hello, authority.issue({"DNS:elsewhere.example"}));
  const auto port = ":" + std::to_string(otherName.port());
  EXPECT_EQ(failureOf("https://localhost" + port, trust),
            "localhost" + port + ": the server's certificate is not trusted: hostname mismatch");
  TestHttpServer otherAddress(hello, authority.issue({"IP:127.0.0.2", "DNS:127.0.0.1"}));
  EXPECT_THAT(failureOf("https://" + otherAddress.authority(), trust), HasSubstr("IP address mismatch"));
}

TEST_F(BeastHttpClientTest, refusesACertificateThatNobodyVouchesFor) {
  const TestAuthority authority;
  const TestAuthority stranger;
  TestHttpServer selfSigned(hello, TestAuthority::selfSigned({"IP:127.0.0.1"}));
  const TlsTrust trust{authority.certificatePem()};
  EXPECT_THAT(failureOf("https://" + selfSigned.authority(), trust), HasSubstr("self-signed certificate"));
  TestHttpServer strange(hello, stranger.issue({"IP:127.0.0.1"}));
  EXPECT_THAT(failureOf("https://" + strange.authority(), trust),
              HasSubstr("unable to get local issuer certificate"));
  // Nor do the system's authorities.
  EXPECT_THAT(failureOf("https://" + strange.authority(), TlsTrust{}),
              HasSubstr("the server's certificate is not trusted"));
}

TEST_F(BeastHttpClientTest, refusesACertificateOutOfItsTime) {
  using std::chrono::hours;
  const TestAuthority authority;
  const TlsTrust trust{authority.certificatePem()};
  TestHttpServer expired(hello, authority.issue({"IP:127.0.0.1"}, {.from = -hours(2), .until = -hours(1)}));
  EXPECT_THAT(failureOf("https://" + expired.authority(), trust), HasSubstr("certificate has expired"));
  TestHttpServer early(hello, authority.issue({"IP:127.0.0.1"}, {.from = hours(1), .until = hours(2)}));
  EXPECT_THAT(failureOf("https://" + early.authority(), trust), HasSubstr("certificate is not yet valid"));
}

TEST_F(BeastHttpClientTest, failsWhereTheServerSpeaksNoTls) {
  TestHttpServer plain(hello);
  EXPECT_THAT(failureOf("https://" + plain.authority()), HasSubstr("no TLS"));
}

TEST_F(BeastHttpClientTest, trustsNobodyWithoutReadableAuthorities) {
  TestHttpServer server(hello, TestAuthority().issue({"IP:127.0.0.1"}));
  EXPECT_THAT(failureOf("https://" + server.authority(), TlsTrust{"nonsense"}),
              HasSubstr("the trusted certificates cannot be read"));
}

TEST_F(BeastHttpClientTest, answersEvenWhenTheClientIsGone) {
  TestHttpServer server(hello);
  std::promise<Result<HttpResponse>> answered;
  client_->send({.url = "http://" + server.authority()}, queue_,
                [&](Result<HttpResponse> result) { answered.set_value(std::move(result)); });
  client_.reset();
  EXPECT_TRUE(answered.get_future().get());
}

TEST_F(BeastHttpClientTest, carriesManyRequestsAtOnce) {
  TestHttpServer server([](const TestHttpRequest& request) { return TestHttpReply{.body = request.target}; });
  std::promise<void> all;
  std::vector<std::string> bodies(32);
  std::size_t answered = 0;
  for (std::size_t i = 0; i < bodies.size(); ++i) {
    client_->send({.url = "http://" + server.authority() + "/" + std::to_string(i)}, queue_,
                  [&, i](Result<HttpResponse> result) {
                    if (result) bodies[i] = result.value().body;
                    if (++answered == bodies.size()) all.set_value();
                  });
  }
  all.get_future().get();
  for (std::size_t i = 0; i < bodies.size(); ++i) EXPECT_EQ(bodies[i], "/" + std::to_string(i));
}

}  // namespace
}  // namespace tevanto
