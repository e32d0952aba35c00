#pragma once

#include <chrono>
#include <functional>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "phone/connection/Answer.h"
#include "phone/connection/Channel.h"
#include "phone/connection/PairedCompanions.h"
#include "remote/message/RemoteMessage.h"

namespace tevanto::phone {

/// The trouble of a reply with "ok" false, or of a rejection.
Trouble refusal(const RemoteMessage& reply);

/// PhoneSession is one conversation with a companion, for a caller that waits for each reply, at most
/// `timeout`.
class PhoneSession {
 public:
  PhoneSession(std::unique_ptr<LineChannel> channel, std::chrono::milliseconds timeout)
      : channel_(std::move(channel)), timeout_(timeout) {}

  /// Introduces this phone; "sessionReady" is the reply. Commands carry the token from then on.
  Answer<RemoteMessage> hello(const PhoneIdentity& identity, std::optional<std::string> token);
  /// "pairAccepted" is the answer.
  Answer<RemoteMessage> pair(const PhoneIdentity& identity, const std::string& code);
  /// Sends the commands and waits for one "ack" each. Fails with the first refusal; `onReply` receives every
  /// ack, that one included.
  Answer<bool> perform(const std::vector<RemoteCommand>& commands,
                       const std::function<void(const RemoteMessage&)>& onReply);
  /// Sends a command that is answered by a message of the kind `reply`, with any content.
  Answer<RemoteMessage> ask(RemoteCommand command, std::string_view reply);

  /// Sends without waiting for an answer.
  Answer<bool> send(const RemoteCommand& command);
  Answer<bool> sendLine(std::string line);
  LineChannel& channel() { return *channel_; }

 private:
  Answer<bool> send(const RemoteMessage& message);
  Answer<RemoteMessage> await(std::initializer_list<std::string_view> types);
  LineChannel::Deadline deadline() const { return std::chrono::steady_clock::now() + timeout_; }

  std::unique_ptr<LineChannel> channel_;
  std::chrono::milliseconds timeout_;
  std::optional<std::string> token_;
};

}  // namespace tevanto::phone
