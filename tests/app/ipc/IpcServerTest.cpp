#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <string>
#include <vector>

#include "app/ipc/IpcClient.h"
#include "app/ipc/IpcServer.h"
#include "tests/support/peers/Sockets.h"
#include "tests/support/programs/ChildProcess.h"
#include "tests/support/programs/Eventually.h"
#include "tests/support/programs/TemporaryFolder.h"

namespace tevanto {
namespace {

/// A connection whose far end is looked at byte by byte.
class RawClient {
 public:
  explicit RawClient(const std::filesystem::path& path) : socket_(::socket(AF_UNIX, SOCK_STREAM, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.string().copy(address.sun_path, sizeof(address.sun_path) - 1);
    // A server that never answers must fail the test, not hang it.
    const timeval limit{30, 0};
    ::setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof(limit));
    connected = ::connect(socket_, reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0;
  }
  ~RawClient() { ::close(socket_); }
  RawClient(const RawClient&) = delete;
  RawClient& operator=(const RawClient&) = delete;

  bool send(const std::string& bytes) {
    return ::send(socket_, bytes.data(), bytes.size(), test::kNoSignal) == static_cast<ssize_t>(bytes.size());
  }
  void endOutput() { ::shutdown(socket_, SHUT_WR); }
  /// The next line, or what came before the end of the stream.
  std::string line() {
    std::string text;
    char byte = 0;
    while (::recv(socket_, &byte, 1, 0) == 1 && byte != '\n') text += byte;
    return text;
  }
  bool isAtEnd() {
    char byte = 0;
    return ::recv(socket_, &byte, 1, 0) <= 0;
  }
  int descriptor() const { return socket_; }

  bool connected = false;

 private:
  int socket_;
};

class IpcServerTest : public ::testing::Test {
 protected:
  void listen(IpcServer::Limits limits = {}) {
    auto server = IpcServer::listen(
        queue_, path_, limits, [this](std::string_view line) { return answer(line); }, mainQueue_);
    ASSERT_TRUE(server) << server.error();
    server_ = std::move(server).value();
  }
  ~IpcServerTest() override {
    queue_->sync([this] { server_.reset(); });
    loop_->stop();
  }

  std::string answer(std::string_view line) {
    ++answers_;
    if (line == "where") return mainQueue_->isCurrent() ? "main" : "elsewhere";
    if (line == "big") return std::string(4 * 1024 * 1024, 'x');
    return "<" + std::string(line) + ">";
  }

  test::TemporaryFolder folder_;
  const std::filesystem::path path_ = folder_ / "control.sock";
  std::shared_ptr<EventLoop> loop_ = EventLoop::background(1);
  std::shared_ptr<SerialQueue> queue_ = loop_->makeQueue("control");
  std::shared_ptr<SerialQueue> mainQueue_ = loop_->makeQueue("main");
  std::unique_ptr<IpcServer> server_;
  std::atomic<int> answers_ = 0;
};

TEST_F(IpcServerTest, asksOnTheHandlersQueue) {
  listen();
  RawClient client(path_);
  ASSERT_TRUE(client.send("where\n"));
  EXPECT_EQ(client.line(), "main");
}

TEST_F(IpcServerTest, answersLinesInOrder) {
  listen();
  RawClient client(path_);
  ASSERT_TRUE(client.connected);
  ASSERT_TRUE(client.send("one\ntwo\n\nthr"));
  EXPECT_EQ(client.line(), "<one>");
  EXPECT_EQ(client.line(), "<two>");
  EXPECT_EQ(client.line(), "<>");
  ASSERT_TRUE(client.send("ee\n"));
  EXPECT_EQ(client.line(), "<three>");
}

TEST_F(IpcServerTest, isPrivate) {
  listen();
  struct stat info {};
  ASSERT_EQ(::stat(path_.c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777, 0600U);
}

/// The descriptors of this process that are sockets of the server at `path`: its own, and one for each
/// client.
std::vector<int> serverSockets(const std::filesystem::path& path) {
  std::vector<int> found;
  for (const auto& entry : std::filesystem::directory_iterator("/dev/fd")) {
    const int descriptor = std::stoi(entry.path().filename());
    sockaddr_un address{};
    socklen_t size = sizeof(address);
    const bool known = ::getsockname(descriptor, reinterpret_cast<sockaddr*>(&address), &size) == 0;
    if (known && address.sun_family == AF_UNIX && size > sizeof(sa_family_t) && path == address.sun_path)
      found.push_back(descriptor);
  }
  return found;
}

TEST_F(IpcServerTest, isNotInheritedByProgramsThatAreStartedMeanwhile) {
  listen();
  RawClient client(path_);
  ASSERT_TRUE(client.send("one\n"));
  ASSERT_EQ(client.line(), "<one>");
  const auto sockets = serverSockets(path_);
  EXPECT_EQ(sockets.size(), 2u);
  for (const int socket : sockets) EXPECT_EQ(::fcntl(socket, F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
}

TEST_F(IpcServerTest, goesAwayWithItsServer) {
  listen();
  RawClient client(path_);
  queue_->sync([this] { server_.reset(); });
  EXPECT_TRUE(client.isAtEnd());
  EXPECT_FALSE(std::filesystem::exists(path_));
}

TEST_F(IpcServerTest, takesThePlaceOfOneThatADeadProcessLeft) {
  const int dead = ::socket(AF_UNIX, SOCK_STREAM, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  path_.string().copy(address.sun_path, sizeof(address.sun_path) - 1);
  ASSERT_EQ(::bind(dead, reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
  ::close(dead);
  ASSERT_FALSE(RawClient(path_).connected);
  listen();
  EXPECT_TRUE(RawClient(path_).connected);
}

TEST_F(IpcServerTest, aLineThatIsTooLongIsRefusedAndTheClientLetGo) {
  listen({.maxLineBytes = 100});
  for (const auto& bytes : {std::string(101, 'a') + "\n", std::string(5000, 'a')}) {
    RawClient client(path_);
    ASSERT_TRUE(client.send(bytes));
    EXPECT_EQ(client.line(), R"({"ok":false,"error":"A request has at most 100 bytes."})");
    EXPECT_TRUE(client.isAtEnd());
  }
  EXPECT_EQ(answers_, 0);
  RawClient client(path_);
  ASSERT_TRUE(client.send(std::string(100, 'a') + "\n"));
  EXPECT_EQ(client.line().size(), 102U) << "the limit itself is still within";
}

TEST_F(IpcServerTest, anUnfinishedLineIsNoRequest) {
  listen();
  RawClient client(path_);
  ASSERT_TRUE(client.send("half"));
  client.endOutput();
  EXPECT_TRUE(client.isAtEnd());
  EXPECT_EQ(answers_, 0);
}

TEST_F(IpcServerTest, aClientThatDoesNotReadHoldsUpNobody) {
  listen();
  RawClient slow(path_);
  ASSERT_TRUE(slow.send("big\nbig\nbig\n"));
  ASSERT_TRUE(test::eventually([this] { return answers_ == 1; }));
  RawClient quick(path_);
  ASSERT_TRUE(quick.send("hello\n"));
  EXPECT_EQ(quick.line(), "<hello>");
  EXPECT_EQ(answers_, 2) << "the slow client's second request waits until it has taken the first answer";
}

TEST_F(IpcServerTest, aSilentClientIsLetGo) {
  listen({.silence = std::chrono::milliseconds(50)});
  RawClient client(path_);
  ASSERT_TRUE(client.connected);
  EXPECT_TRUE(client.isAtEnd());
}

TEST_F(IpcServerTest, clientsBeyondTheLimitAreToldSo) {
  listen({.maxClients = 2});
  RawClient first(path_);
  RawClient second(path_);
  ASSERT_TRUE(first.send("a\n") && second.send("b\n"));
  EXPECT_EQ(first.line(), "<a>");
  EXPECT_EQ(second.line(), "<b>");
  {
    RawClient third(path_);
    EXPECT_EQ(third.line(),
              R"({"ok":false,"error":"Too many programs ask at once; try again in a moment."})");
  }
  ASSERT_TRUE(first.send("still here\n"));
  EXPECT_EQ(first.line(), "<still here>");
}

TEST_F(IpcServerTest, hostileBytesHarmNobody) {
  listen({.maxLineBytes = 256});
  for (int round = 0; round < 200; ++round) {
    RawClient client(path_);
    std::string bytes;
    for (int i = 0; i < round * 3; ++i) bytes += static_cast<char>((round * 31 + i * 17) & 0xff);
    client.send(bytes + "\n");
    if (round % 2 == 0) client.line();
  }
  RawClient client(path_);
  ASSERT_TRUE(client.send("fine\n"));
  // The clients just gone may still count against the limit for a moment.
  EXPECT_TRUE(test::eventually([this] {
    RawClient again(path_);
    return again.send("fine\n") && again.line() == "<fine>";
  }));
}

TEST_F(IpcServerTest, aProcessOfAnotherUserIsRefused) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can start a program as another user";
  listen();
  // The folder and the mode of the socket would keep it out before its user is ever looked at.
  ASSERT_EQ(::chmod(folder_.path().c_str(), 0755), 0);
  ASSERT_EQ(::chmod(path_.c_str(), 0666), 0);
  const auto result = test::runProgram({"setpriv", "--reuid=65534", "--regid=65534", "--clear-groups",
                                        "/usr/bin/python3", "-c",
                                        "import socket,sys\n"
                                        "s=socket.socket(socket.AF_UNIX); s.connect(sys.argv[1])\n"
                                        "print(s.makefile().read(), end='')",
                                        path_.string()});
  EXPECT_EQ(result.output, "{\"ok\":false,\"error\":\"This companion belongs to another user.\"}\n");
  EXPECT_EQ(answers_, 0);
}

TEST_F(IpcServerTest, aPathThatIsTooLongIsRefused) {
  const auto server = IpcServer::listen(
      queue_, "/tmp/" + std::string(120, 'x'), {}, [](auto) { return ""; }, queue_);
  ASSERT_FALSE(server);
  EXPECT_NE(server.error().find("too long"), std::string::npos);
}

class IpcClient : public ::testing::Test {
 protected:
  void listen(IpcServer::Handler handler) {
    auto server = IpcServer::listen(queue_, path_, {}, std::move(handler), queue_);
    ASSERT_TRUE(server) << server.error();
    server_ = std::move(server).value();
  }
  ~IpcClient() override {
    queue_->sync([this] { server_.reset(); });
    loop_->stop();
  }

  test::TemporaryFolder folder_;
  const std::filesystem::path path_ = folder_ / "control.sock";
  std::shared_ptr<EventLoop> loop_ = EventLoop::background(1);
  std::shared_ptr<SerialQueue> queue_ = loop_->makeQueue("main");
  std::unique_ptr<IpcServer> server_;
};

TEST_F(IpcClient, findsNobodyWhereNothingListens) {
  const auto answer = askCompanion(path_, {});
  ASSERT_TRUE(answer) << answer.error();
  EXPECT_FALSE(answer.value());
}

TEST_F(IpcClient, bringsTheAnswerBack) {
  listen([](std::string_view line) {
    const auto request = decodeIpcRequest(line);
    CompanionStatus status;
    status.keepAwakeOn = request && request.value().on;
    return encodeIpcReply({true, "", status});
  });
  const auto answer = askCompanion(path_, {IpcRequest::Kind::keepAwake, true});
  ASSERT_TRUE(answer) << answer.error();
  ASSERT_TRUE(answer.value() && answer.value()->status);
  EXPECT_TRUE(answer.value()->status->keepAwakeOn);
}

TEST_F(IpcClient, doesNotTakeNonsenseForAnAnswer) {
  listen([](std::string_view) { return "hello"; });
  EXPECT_FALSE(askCompanion(path_, {}));
}

TEST_F(IpcClient, givesUpOnACompanionThatHangs) {
  const int hung = ::socket(AF_UNIX, SOCK_STREAM, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  path_.string().copy(address.sun_path, sizeof(address.sun_path) - 1);
  ASSERT_EQ(::bind(hung, reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
  ASSERT_EQ(::listen(hung, 0), 0);
  const auto answer = askCompanion(path_, {}, std::chrono::milliseconds(100));
  ASSERT_FALSE(answer);
  EXPECT_NE(answer.error().find("does not answer"), std::string::npos);
  // The first attempt fills the backlog of one: now connecting itself has to give up.
  EXPECT_FALSE(askCompanion(path_, {}, std::chrono::milliseconds(100)));
  ::close(hung);
}

}  // namespace
}  // namespace tevanto
