#include "phone/terminal/StdioBridge.h"

#include <poll.h>
#include <unistd.h>

#include <array>
#include <cerrno>

#include "remote/message/RemoteMessageCodec.h"

namespace tevanto::phone {

Answer<bool> StdioBridge::run() {
  while (true) {
    // A negative descriptor is one that poll(2) leaves out.
    std::array<pollfd, 2> waits = {
        {{session_.channel().descriptor(), POLLIN, 0}, {inputEnded_ ? -1 : input_, POLLIN, 0}}};
    const int wait = inputEnded_ ? static_cast<int>(options_.linger.count()) : -1;
    const int ready = ::poll(waits.data(), waits.size(), wait);
    if (ready == 0) return true;
    if (ready < 0 && errno != EINTR) return Trouble{ExitCode::notDone, "Waiting for input failed."};
    if (ready > 0 && waits[1].revents) {
      if (auto read = readInput(); !read) return read;
    }
    if (ready > 0 && waits[0].revents && !printReplies()) {
      if (inputEnded_) return true;
      return Trouble{ExitCode::connectionLost, "The companion closed the connection."};
    }
  }
}

Answer<bool> StdioBridge::readInput() {
  std::array<char, 65536> bytes;
  const auto count = ::read(input_, bytes.data(), bytes.size());
  if (count < 0 && (errno == EINTR || errno == EAGAIN)) return true;
  if (count > 0) {
    pending_.append(bytes.data(), static_cast<std::size_t>(count));
  } else {
    inputEnded_ = true;
    if (!pending_.empty()) pending_ += '\n';  // the last line may lack its end
  }
  return sendLines();
}

Answer<bool> StdioBridge::sendLines() {
  std::size_t start = 0;
  for (auto end = pending_.find('\n'); end != std::string::npos; end = pending_.find('\n', start)) {
    if (auto sent = session_.sendLine(prepared(pending_.substr(start, end - start))); !sent) return sent;
    start = end + 1;
  }
  pending_.erase(0, start);
  return true;
}

bool StdioBridge::printReplies() {
  std::string line;
  while (true) {
    const auto received = session_.channel().receive(line, std::chrono::steady_clock::now());
    if (received != LineChannel::Received::line) return received == LineChannel::Received::nothingYet;
    output_.line(line);
  }
}

std::string StdioBridge::prepared(std::string line) const {
  if (!options_.token) return line;
  auto message = decodeRemoteMessage(line);
  if (!message || message->type != "command" || message->token) return line;
  message->token = options_.token;
  std::string encoded;
  return encodeRemoteMessage(*message, encoded) ? encoded : line;
}

}  // namespace tevanto::phone
