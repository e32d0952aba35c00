#pragma once

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "core/Result.h"
#include "core/queue/EventLoop.h"
#include "core/queue/SerialQueue.h"

namespace tevanto {

/// IpcServer answers lines on a Unix socket of mode 0600, and only for processes of the same user
/// (SO_PEERCRED). It lives on the queue given to it. A client gets one answer at a time and is not read
/// until it has taken that answer. A slow client therefore costs a descriptor and a few kilobytes, never
/// time.
class IpcServer {
 public:
  /// Handler returns the answer to a line, both without their line feeds.
  using Handler = std::function<std::string(std::string_view line)>;

  /// Limits bounds what clients may cost.
  struct Limits {
    std::size_t maxLineBytes = 4096;
    std::size_t maxClients = 16;
    std::chrono::milliseconds silence = std::chrono::seconds(10);  // then the connection is closed
  };

  /// The caller holds the `CompanionLock` of the folder: a file at `path` is removed. The sockets live on
  /// `queue`, of an event loop. The handler is called on `handlerQueue`, where it may take its time.
  static Result<std::unique_ptr<IpcServer>> listen(const std::shared_ptr<SerialQueue>& queue,
                                                   const std::filesystem::path& path, Limits limits,
                                                   Handler handler,
                                                   const std::shared_ptr<SerialQueue>& handlerQueue);

  /// Ends every client and removes the socket. On the queue, or after its loop has stopped.
  ~IpcServer();
  IpcServer(const IpcServer&) = delete;
  IpcServer& operator=(const IpcServer&) = delete;

  struct Core;  // the sockets

 private:
  explicit IpcServer(std::shared_ptr<Core> core) : core_(std::move(core)) {}
  std::shared_ptr<Core> core_;
};

}  // namespace tevanto
