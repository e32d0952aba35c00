#include "phone/terminal/RawTerminal.h"

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <array>
#include <cassert>
#include <string_view>
#include <utility>

namespace tevanto::phone {
namespace {

// Alternate screen, hidden cursor, all mouse motion, reports in SGR form (xterm's control sequences).
constexpr std::string_view kEnter = "\x1b[?1049h\x1b[?25l\x1b[?1003h\x1b[?1006h";
constexpr std::string_view kLeave = "\x1b[?1006l\x1b[?1003l\x1b[?25h\x1b[?1049l";

void writeAll(int descriptor, std::string_view bytes) {
  while (!bytes.empty()) {
    const auto count = ::write(descriptor, bytes.data(), bytes.size());
    if (count <= 0) return;
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
}

constexpr std::array<int, 4> kSignals = {SIGINT, SIGTERM, SIGHUP, SIGQUIT};
volatile sig_atomic_t signalPipe = -1;  // a signal handler reaches nothing else

void onSignal(int) {
  const char mark = 1;
  if (signalPipe >= 0) (void)!::write(signalPipe, &mark, 1);
}

}  // namespace

std::unique_ptr<RawTerminal> RawTerminal::open(int input, int output) {
  termios before{};
  if (::tcgetattr(input, &before) != 0) return nullptr;
  return std::unique_ptr<RawTerminal>(new RawTerminal(input, output, before));
}

RawTerminal::RawTerminal(int input, int output, const termios& before)
    : input_(input), output_(output), before_(before) {
  termios raw = before;
  ::cfmakeraw(&raw);
  ::tcsetattr(input_, TCSAFLUSH, &raw);
  writeAll(output_, kEnter);
}

RawTerminal::~RawTerminal() {
  writeAll(output_, kLeave);
  ::tcsetattr(input_, TCSAFLUSH, &before_);
}

struct EndSignals::Saved {
  std::array<int, 2> pipe{-1, -1};
  std::array<struct sigaction, kSignals.size()> actions{};
};

EndSignals::EndSignals() : saved_(std::make_unique<Saved>()) {
  assert(signalPipe == -1 && "one at a time");
  if (::pipe(saved_->pipe.data()) != 0) return;
  for (const int end : saved_->pipe) {
    ::fcntl(end, F_SETFD, FD_CLOEXEC);
    ::fcntl(end, F_SETFL, O_NONBLOCK);
  }
  signalPipe = saved_->pipe[1];
  struct sigaction action {};
  action.sa_handler = onSignal;
  for (std::size_t i = 0; i < kSignals.size(); ++i) ::sigaction(kSignals[i], &action, &saved_->actions[i]);
}

EndSignals::~EndSignals() {
  if (saved_->pipe[0] < 0) return;
  for (std::size_t i = 0; i < kSignals.size(); ++i) ::sigaction(kSignals[i], &saved_->actions[i], nullptr);
  signalPipe = -1;
  for (const int end : saved_->pipe) ::close(end);
}

int EndSignals::descriptor() const { return saved_->pipe[0]; }

}  // namespace tevanto::phone
