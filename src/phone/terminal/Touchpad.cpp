#include "phone/terminal/Touchpad.h"

#include <poll.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>

#include "core/text/Text.h"
#include "phone/terminal/PhoneOutput.h"
#include "phone/terminal/RawTerminal.h"
#include "remote/message/RemoteMessageCodec.h"

namespace tevanto::phone {

Answer<bool> Touchpad::run() {
  const EndSignals signals;  // outlives the terminal's raw mode: a signal never finds it raw and unwatched
  const auto terminal = RawTerminal::open(input_, output_);
  if (!terminal) return Trouble{ExitCode::usage, "The touchpad needs a terminal."};
  show("");
  const auto result = loop(signals.descriptor());
  const auto released = sendAll(gestures_.finish());
  return result ? released : result;
}

Answer<bool> Touchpad::loop(int signals) {
  bool ended = false;
  while (!ended && !gestures_.wantsToQuit()) {
    std::array<pollfd, 3> waits = {
        {{input_, POLLIN, 0}, {session_.channel().descriptor(), POLLIN, 0}, {signals, POLLIN, 0}}};
    if (::poll(waits.data(), waits.size(), -1) < 0 && errno != EINTR) break;
    if (waits[2].revents) return Trouble{ExitCode::notDone, "Interrupted."};
    if (waits[1].revents) {
      if (auto read = readReplies(); !read) return read;
    }
    if (waits[0].revents) {
      if (auto read = readTerminal(ended); !read) return read;
    }
  }
  return true;
}

Answer<bool> Touchpad::readTerminal(bool& ended) {
  std::array<char, 4096> bytes;
  const auto count = ::read(input_, bytes.data(), bytes.size());
  ended = count == 0 || (count < 0 && errno != EINTR && errno != EAGAIN);
  if (count <= 0) return true;
  return sendAll(gestures_.handle(events_.feed({bytes.data(), static_cast<std::size_t>(count)})));
}

Answer<bool> Touchpad::readReplies() {
  std::string line;
  while (true) {
    switch (session_.channel().receive(line, std::chrono::steady_clock::now())) {
      case LineChannel::Received::closed:
        return Trouble{ExitCode::connectionLost, "The companion closed the connection."};
      case LineChannel::Received::nothingYet:
        return true;
      case LineChannel::Received::line:
        break;
    }
    const auto reply = decodeRemoteMessage(line);
    if (!reply || reply->type != "ack") continue;
    show(reply->ok.value_or(false) ? "" : refusal(*reply).message);
  }
}

Answer<bool> Touchpad::sendAll(const std::vector<RemoteCommand>& commands) {
  for (const auto& command : commands) {
    if (auto sent = session_.send(command); !sent) return sent;
  }
  return true;
}

void Touchpad::show(const std::string& status) {
  const auto screen = "\x1b[H\x1b[2J" + std::string(TouchpadGestures::kHelp) + "\r\n\n" + printable(status);
  if (screen == shown_) return;
  shown_ = screen;
  (void)!::write(output_, screen.data(), screen.size());
}

}  // namespace tevanto::phone
