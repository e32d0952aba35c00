#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "core/Log.h"
#include "core/queue/QueueBound.h"
#include "core/queue/SerialQueue.h"
#include "net/Url.h"
#include "net/web/WebSocketConnection.h"
#include "p2p/signaling/RelaySignaling.h"

namespace tevanto {

/// The address of a room at a relay ("wss://host[:port]" or "ws://host[:port]"); nothing when `relayURL` is
/// no such address.
std::optional<Url> relayRoom(const std::string& relayURL, const std::string& room, SignalRole role);

/// SignalingClient joins a room at the first of its relays that opens, keeps the socket alive and passes on
/// the signals of the room. It does not reconnect a socket that was open: the owner decides how to go on. The
/// relay: docs/protocol.md, section 9.2.
///
///   idle -> connecting (relay 0) --(fault, 8 s)--> connecting (relay 1) ... --(fault)--> exhausted: onClose
///           connecting --(answer)--> open: onOpen --(fault)--> closed: onClose
///
/// Lives on its state queue; its callbacks come there as well.
class SignalingClient final : public RelaySignaling, public QueueBound<SignalingClient> {
 public:
  static constexpr const char* kQueueLabel = "tevanto.signaling.state";
  static constexpr std::chrono::seconds kOpenTimeout{8};
  static constexpr std::chrono::seconds kPingInterval{25};

  /// `relays` are WebSocket endpoints, "wss://host" or "wss://host:port", tried in their order.
  static std::shared_ptr<SignalingClient> create(std::vector<std::string> relays,
                                                 std::shared_ptr<WebSocketFactory> sockets,
                                                 std::shared_ptr<SerialQueue> stateQueue,
                                                 std::shared_ptr<LogSink> log);
  ~SignalingClient() override;
  SignalingClient(const SignalingClient&) = delete;
  SignalingClient& operator=(const SignalingClient&) = delete;

  void connect(const std::string& room, SignalRole role) override;
  void send(const SignalMessage& message) override;
  void close() override;

 private:
  SignalingClient(std::vector<std::string> relays, std::shared_ptr<WebSocketFactory> sockets,
                  std::shared_ptr<SerialQueue> stateQueue, std::shared_ptr<LogSink> log);

  /// A callback of the socket that is current now: does nothing once that is replaced or the client closed.
  template <class Work>
  auto ofCurrentTask(Work work);

  void attempt();
  void startTask(const std::string& url);
  void opened();
  void schedulePing();
  void ping();
  void received(std::string_view frame);
  void ended(const WebSocketConnection::End& end);
  void sendNow(const SignalMessage& message);
  void fail(const std::string& reason);
  void closeNow();
  void cancelTask(std::uint16_t closeCode);

  const std::vector<std::string> relays_;
  const std::shared_ptr<WebSocketFactory> sockets_;
  std::shared_ptr<WebSocketConnection> task_;
  std::string host_;  // of the task
  bool isConnected_ = false;
  std::string room_;
  SignalRole role_ = SignalRole::mac;
  std::size_t urlIndex_ = 0;
  std::atomic<bool> closed_ = false;  // from the moment of the call on, whatever still waits on the queue
  const Logger log_;
  Timer openTimeout_;
  Timer nextPing_;
};

}  // namespace tevanto
