#include "app/ipc/IpcServer.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <boost/asio/bind_executor.hpp>
#include <boost/asio/local/stream_protocol.hpp>
#include <boost/asio/write.hpp>
#include <vector>

#include "app/ipc/IpcMessages.h"
#include "app/ipc/ProcessFacts.h"
#include "core/queue/EventLoopCore.h"
#include "core/queue/QueueBound.h"

namespace tevanto {
namespace {

using Protocol = boost::asio::local::stream_protocol;
using Error = boost::system::error_code;

/// Programs that the companion opens must not inherit its sockets.
template <class Socket>
void closeOnExec(Socket& socket) {
  ::fcntl(socket.native_handle(), F_SETFD, FD_CLOEXEC);
}

/// One client: reads a line, answers it, and reads on only when the answer has been taken.
class Client final : public std::enable_shared_from_this<Client> {
 public:
  Client(Protocol::socket socket, std::shared_ptr<EventLoopQueue> queue, IpcServer::Limits limits,
         IpcServer::Handler handler, std::shared_ptr<SerialQueue> handlerQueue)
      : socket_(std::move(socket)),
        queue_(std::move(queue)),
        limits_(limits),
        handler_(std::move(handler)),
        handlerQueue_(std::move(handlerQueue)) {}

  void serve() {
    waitForSilence();
    nextLine();
  }
  void refuse(const std::string& why) {
    waitForSilence();
    answer(encodeIpcReply({false, why, {}}), AfterAnswer::close);
  }
  void close() {
    silence_.cancel();
    Error ignored;
    socket_.close(ignored);
  }

 private:
  enum class AfterAnswer { readOn, close };

  void waitForSilence() {
    silence_ = queue_->asyncAfter(limits_.silence, weakCall(weak_from_this(), &Client::close));
  }

  void nextLine() {
    const auto end = buffer_.find('\n');
    if (end == std::string::npos && buffer_.size() <= limits_.maxLineBytes) return readMore();
    if (end == std::string::npos || end > limits_.maxLineBytes) {
      return refuse("A request has at most " + std::to_string(limits_.maxLineBytes) + " bytes.");
    }
    auto line = buffer_.substr(0, end);
    buffer_.erase(0, end + 1);
    waitForSilence();
    handlerQueue_->async([self = shared_from_this(), line = std::move(line)] {
      self->queue_->async([self, text = self->handler_(line)] { self->answer(text, AfterAnswer::readOn); });
    });
  }

  void readMore() {
    socket_.async_read_some(
        boost::asio::buffer(received_),
        boost::asio::bind_executor(queue_->strand(), [self = shared_from_this()](Error error, std::size_t n) {
          if (error) return self->close();
          self->buffer_.append(self->received_.data(), n);
          self->nextLine();
        }));
  }

  void answer(std::string text, AfterAnswer after) {
    unsent_ = std::move(text) + "\n";
    boost::asio::async_write(socket_, boost::asio::buffer(unsent_),
                             boost::asio::bind_executor(queue_->strand(), [self = shared_from_this(), after](
                                                                              Error error, std::size_t) {
                               if (error || after == AfterAnswer::close) return self->close();
                               self->nextLine();
                             }));
  }

  Protocol::socket socket_;
  const std::shared_ptr<EventLoopQueue> queue_;
  const IpcServer::Limits limits_;
  const IpcServer::Handler handler_;
  const std::shared_ptr<SerialQueue> handlerQueue_;
  Timer silence_;
  std::array<char, 1024> received_{};
  std::string buffer_;
  std::string unsent_;
};

}  // namespace

struct IpcServer::Core final : std::enable_shared_from_this<Core> {
  Core(std::shared_ptr<EventLoopQueue> onQueue, std::filesystem::path at, Limits within, Handler with,
       std::shared_ptr<SerialQueue> withQueue)
      : queue(std::move(onQueue)),
        acceptor(queue->context()),
        path(std::move(at)),
        limits(within),
        handler(std::move(with)),
        handlerQueue(std::move(withQueue)) {}

  Result<void> open() {
    ::unlink(path.c_str());
    Error error;
    acceptor.open(Protocol(), error);
    if (!error) closeOnExec(acceptor);
    // The folder is private already; the mode keeps the socket private should it be moved.
    const auto before = ::umask(0177);
    if (!error) acceptor.bind(Protocol::endpoint(path.string()), error);
    ::umask(before);
    if (!error) acceptor.listen(boost::asio::socket_base::max_listen_connections, error);
    if (!error) return {};
    return Failure{"The control socket " + path.string() + " cannot be opened: " + error.message() + "."};
  }

  void acceptNext() {
    acceptor.async_accept(boost::asio::bind_executor(
        queue->strand(), [weak = weak_from_this()](Error error, Protocol::socket socket) {
          const auto self = weak.lock();
          if (!self || error == boost::asio::error::operation_aborted) return;
          if (error) return self->acceptLater();
          self->handleAccepted(std::move(socket));
          self->acceptNext();
        }));
  }

  /// Out of descriptors, most likely: trying again at once would only burn time.
  void acceptLater() {
    pause = queue->asyncAfter(std::chrono::seconds(1), weakCall(weak_from_this(), &Core::acceptNext));
  }

  void handleAccepted(Protocol::socket socket) {
    closeOnExec(socket);
    std::erase_if(clients, [](const auto& client) { return client.expired(); });
    const bool full = clients.size() >= limits.maxClients;
    const bool own = isOfSameUser(socket.native_handle());
    const auto client = std::make_shared<Client>(std::move(socket), queue, limits, handler, handlerQueue);
    if (!own || full) {
      client->refuse(own ? "Too many programs ask at once; try again in a moment."
                         : "This companion belongs to another user.");
      // Refused clients are not counted; beyond twice the number the socket is simply closed.
      if (clients.size() >= 2 * limits.maxClients) client->close();
    } else {
      client->serve();
    }
    clients.push_back(client);
  }

  void close() {
    pause.cancel();
    Error ignored;
    acceptor.close(ignored);
    for (const auto& weak : clients) {
      if (const auto client = weak.lock()) client->close();
    }
    ::unlink(path.c_str());
  }

  const std::shared_ptr<EventLoopQueue> queue;
  Protocol::acceptor acceptor;
  const std::filesystem::path path;
  const Limits limits;
  const Handler handler;
  const std::shared_ptr<SerialQueue> handlerQueue;
  Timer pause;
  std::vector<std::weak_ptr<Client>> clients;
};

Result<std::unique_ptr<IpcServer>> IpcServer::listen(const std::shared_ptr<SerialQueue>& queue,
                                                     const std::filesystem::path& path, Limits limits,
                                                     Handler handler,
                                                     const std::shared_ptr<SerialQueue>& handlerQueue) {
  auto own = EventLoopQueue::from(*queue).shared_from_this();
  if (path.string().size() >= sizeof(sockaddr_un::sun_path)) {
    return Failure{"The path " + path.string() +
                   " is too long for a socket; set XDG_RUNTIME_DIR to a shorter folder."};
  }
  auto core = std::make_shared<Core>(std::move(own), path, limits, std::move(handler), handlerQueue);
  if (auto opened = core->open(); !opened) return Failure{opened.error()};
  queue->async([core] { core->acceptNext(); });
  return std::unique_ptr<IpcServer>(new IpcServer(std::move(core)));
}

IpcServer::~IpcServer() { core_->close(); }

}  // namespace tevanto
