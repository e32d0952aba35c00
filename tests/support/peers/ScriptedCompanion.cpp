#include "tests/support/peers/ScriptedCompanion.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "remote/message/RemoteMessageCodec.h"
#include "tests/support/peers/Sockets.h"

namespace tevanto::test {
namespace {

RemoteMessage message(std::string type) {
  RemoteMessage made;
  made.type = std::move(type);
  return made;
}

int listenOnLoopback(ScriptedCompanion::Family family, std::uint16_t& port) {
  const bool v6 = family == ScriptedCompanion::Family::ipv6;
  const int listener = openSocket(v6 ? AF_INET6 : AF_INET);
  sockaddr_in6 six{};
  six.sin6_family = AF_INET6;
  six.sin6_addr = in6addr_loopback;
  sockaddr_in four{};
  four.sin_family = AF_INET;
  four.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  auto* address = v6 ? reinterpret_cast<sockaddr*>(&six) : reinterpret_cast<sockaddr*>(&four);
  socklen_t size = v6 ? sizeof six : sizeof four;
  if (listener < 0 || ::bind(listener, address, size) != 0 || ::listen(listener, 8) != 0 ||
      ::getsockname(listener, address, &size) != 0) {
    throw std::runtime_error("no loopback listener");
  }
  port = ntohs(v6 ? six.sin6_port : four.sin_port);
  return listener;
}

void sendAll(int socket, std::string_view bytes) {
  while (!bytes.empty()) {
    const auto count = ::send(socket, bytes.data(), bytes.size(), kNoSignal);
    if (count <= 0) return;
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
}

}  // namespace

ScriptedCompanion::ScriptedCompanion(Family family) : family_(family) {
  script_.ack = message("ack");
  script_.ack.ok = true;
  script_.systemState = message("systemState");
  script_.systemState.volume = 0.42;
  script_.systemState.muted = false;
  script_.powerState = message("powerState");
  script_.powerState.keepAwakeOn = false;
  script_.powerState.helperReady = true;
  script_.powerState.batteryPercent = 73;
  script_.powerState.message = "Keep Awake off";
  script_.answer = [this](const RemoteMessage& given) { return defaultAnswer(given); };
  listener_ = listenOnLoopback(family, port_);
  thread_ = std::thread([this] { serve(); });
}

ScriptedCompanion::~ScriptedCompanion() {
  ending_ = true;
  ::shutdown(listener_, SHUT_RDWR);
  dropPhone();
  thread_.join();
  ::close(listener_);
}

std::string ScriptedCompanion::host() const {
  return (family_ == Family::ipv6 ? "[::1]:" : "127.0.0.1:") + std::to_string(port_);
}

std::vector<RemoteMessage> ScriptedCompanion::received() {
  const std::lock_guard lock(mutex_);
  return received_;
}

std::vector<RemoteCommand> ScriptedCompanion::commands() {
  std::vector<RemoteCommand> found;
  for (const auto& given : received()) {
    if (given.command) found.push_back(*given.command);
  }
  return found;
}

std::vector<std::string> ScriptedCompanion::lines() {
  const std::lock_guard lock(mutex_);
  return lines_;
}

bool ScriptedCompanion::waitForCommands(std::size_t count) {
  std::unique_lock lock(mutex_);
  return changed_.wait_for(lock, std::chrono::seconds(30), [&] {
    std::size_t commands = 0;
    for (const auto& given : received_) commands += given.command ? 1 : 0;
    return commands >= count;
  });
}

void ScriptedCompanion::dropPhone() {
  const std::lock_guard lock(mutex_);
  if (phone_ >= 0) ::shutdown(phone_, SHUT_RDWR);
}

void ScriptedCompanion::serve() {
  while (!ending_) {
    const int phone = ::accept(listener_, nullptr, nullptr);
    if (phone < 0) continue;
    {
      const std::lock_guard lock(mutex_);
      phone_ = phone;
    }
    if (!ending_) converse(phone);
    const std::lock_guard lock(mutex_);
    phone_ = -1;
    ::close(phone);
  }
}

void ScriptedCompanion::converse(int phone) {
  std::string buffer;
  std::array<char, 65536> bytes;
  while (true) {
    const auto count = ::recv(phone, bytes.data(), bytes.size(), 0);
    if (count <= 0) return;
    buffer.append(bytes.data(), static_cast<std::size_t>(count));
    for (auto end = buffer.find('\n'); end != std::string::npos; end = buffer.find('\n')) {
      const auto line = buffer.substr(0, end);
      buffer.erase(0, end + 1);
      if (!handleLine(phone, line)) return;
    }
  }
}

bool ScriptedCompanion::handleLine(int phone, const std::string& line) {
  const auto given = decodeRemoteMessage(line);
  {
    const std::lock_guard lock(mutex_);
    lines_.push_back(line);
    if (given) received_.push_back(*given);
  }
  changed_.notify_all();
  if (!given) return true;
  const auto replies = script()->answer(*given);
  for (const auto& reply : replies) {
    if (reply.type == "close") return false;
    std::string encoded;
    if (encodeRemoteMessage(reply, encoded)) sendAll(phone, encoded + "\n");
  }
  return true;
}

std::vector<RemoteMessage> ScriptedCompanion::defaultAnswer(const RemoteMessage& given) const {
  if (given.type == "command") return answerCommand(given);
  RemoteMessage reply;
  reply.protocolVersion = 2;
  reply.hostName = "Desk";
  reply.deviceID = "DESK-ID";
  reply.kind = "mac";
  reply.capabilities = capabilityList();
  if (given.type == "sessionHello") {
    const bool known = script_.token && given.token == script_.token;
    reply.type = known ? "sessionReady" : "sessionRejected";
    reply.sessionNonce = given.sessionNonce;
    if (!known) reply.message = "unauthorized";
  } else if (given.type == "pairRequest") {
    reply.type = given.code == "012345" ? "pairAccepted" : "pairRejected";
    if (reply.type == "pairRejected") reply.message = "wrong code";
    if (reply.type == "pairAccepted") reply.token = script_.token;
  } else {
    return {};
  }
  if (reply.type == "sessionReady" || reply.type == "pairAccepted") {
    return {reply, message("capabilities"), script_.systemState};
  }
  return {reply};
}

std::vector<RemoteMessage> ScriptedCompanion::answerCommand(const RemoteMessage& given) const {
  auto refused = message("ack");
  refused.ok = false;
  refused.message = "unauthorized";
  if (given.token != script_.token || !given.command) return {refused};
  const auto& type = given.command->type;
  if (type == "querySystemState") return {script_.systemState};
  if (type == "queryKeepAwake") return {script_.powerState};
  if (type == "setKeepAwake") {
    auto state = script_.powerState;
    if (state.ok != false) state.keepAwakeOn = given.command->on;
    return {state};
  }
  if (type != "queryApps") return {script_.ack};
  auto list = message("appList");
  list.apps = script_.apps;
  list.appsHash = appsHash(script_.apps);
  return {list};
}

}  // namespace tevanto::test
