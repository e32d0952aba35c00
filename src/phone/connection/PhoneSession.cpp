#include "phone/connection/PhoneSession.h"

#include <algorithm>
#include <utility>

#include "core/text/Uuid.h"
#include "remote/message/RemoteMessageCodec.h"

namespace tevanto::phone {
namespace {

Trouble lost() {
  return {ExitCode::connectionLost,
          "The companion closed the connection. Another phone may have taken its place; try again."};
}

RemoteMessage introduction(std::string type, const PhoneIdentity& identity) {
  RemoteMessage message;
  message.type = std::move(type);
  message.protocolVersion = kProtocolVersion;
  message.deviceID = identity.deviceID;
  message.deviceName = identity.deviceName;
  return message;
}

}  // namespace

Trouble refusal(const RemoteMessage& reply) {
  const auto reason = reply.message.value_or("no reason given");
  Trouble trouble{ExitCode::refused, "Refused: " + reason};
  if (reason == "unauthorized") {
    trouble.message +=
        ". This phone is not paired: run `tevanto-phone pair CODE`; the code is shown by `tevanto status`.";
  } else if (reason == "wrong code") {
    trouble.message += ". The code is shown by `tevanto status`; it changes after every pairing.";
  } else if (reason == "accessibility required") {
    trouble.message += ". The companion may not inject input; `tevanto doctor` there says why.";
  }
  return trouble;
}

Answer<RemoteMessage> PhoneSession::hello(const PhoneIdentity& identity, std::optional<std::string> token) {
  auto message = introduction("sessionHello", identity);
  message.sessionNonce = randomUuid();
  message.token = token_ = std::move(token);
  if (auto sent = send(message); !sent) return sent.trouble();
  while (true) {
    auto reply = await({"sessionReady", "sessionRejected"});
    if (!reply) return reply;
    if (reply->sessionNonce != message.sessionNonce) continue;  // the answer to somebody else's greeting
    if (reply->type == "sessionRejected") return refusal(*reply);
    return reply;
  }
}

Answer<RemoteMessage> PhoneSession::pair(const PhoneIdentity& identity, const std::string& code) {
  auto message = introduction("pairRequest", identity);
  message.code = code;
  if (auto sent = send(message); !sent) return sent.trouble();
  auto reply = await({"pairAccepted", "pairRejected"});
  if (reply && reply->type == "pairRejected") return refusal(*reply);
  if (reply) token_ = reply->token;
  return reply;
}

Answer<bool> PhoneSession::perform(const std::vector<RemoteCommand>& commands,
                                   const std::function<void(const RemoteMessage&)>& onReply) {
  for (const auto& command : commands) {
    if (auto sent = send(command); !sent) return sent;
  }
  std::optional<Trouble> refused;
  for (std::size_t i = 0; i < commands.size(); ++i) {
    const auto reply = await({"ack"});
    if (!reply) return reply.trouble();
    onReply(*reply);
    if (!reply->ok.value_or(false) && !refused) refused = refusal(*reply);
  }
  if (refused) return *refused;
  return true;
}

Answer<RemoteMessage> PhoneSession::ask(RemoteCommand command, std::string_view replyType) {
  if (auto sent = send(command); !sent) return sent.trouble();
  auto reply = await({replyType, "ack"});  // an "ack" instead is how the companion says no
  if (reply && reply->type == "ack") return refusal(*reply);
  return reply;
}

Answer<bool> PhoneSession::send(const RemoteCommand& command) {
  RemoteMessage message;
  message.type = "command";
  message.token = token_;
  message.command = command;
  return send(message);
}

Answer<bool> PhoneSession::send(const RemoteMessage& message) {
  std::string line;
  if (!encodeRemoteMessage(message, line)) {
    return Trouble{ExitCode::usage, "This cannot be sent: text must be UTF-8 and numbers finite."};
  }
  return sendLine(std::move(line));
}

Answer<bool> PhoneSession::sendLine(std::string line) {
  line += '\n';
  if (channel_->send(line, deadline())) return true;
  return lost();
}

Answer<RemoteMessage> PhoneSession::await(std::initializer_list<std::string_view> types) {
  const auto until = deadline();
  std::string line;
  while (true) {
    switch (channel_->receive(line, until)) {
      case LineChannel::Received::closed:
        return lost();
      case LineChannel::Received::nothingYet:
        return Trouble{ExitCode::connectionLost,
                       "The companion did not answer in time. Is the network there? --timeout waits longer."};
      case LineChannel::Received::line:
        break;
    }
    auto message = decodeRemoteMessage(line);
    if (message && std::find(types.begin(), types.end(), message->type) != types.end()) {
      return *std::move(message);
    }
  }
}

}  // namespace tevanto::phone
