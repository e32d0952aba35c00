// The time of a pointer command from a client's write to MotionNotify at another X client, and the number of
// commands a second, for the companion and for a bare loop, in turns within one run. Prints JSON.
//
//   pointer_bench --display :N --companion-port P --token T [--samples N] [--commands N]

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>
#include <xcb/xcb.h>
#include <xcb/xtest.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "bench/BareLoop.h"

namespace tevanto::bench {
namespace {

using Clock = std::chrono::steady_clock;
using Microseconds = std::chrono::duration<double, std::micro>;

[[noreturn]] void fail(const std::string& what) {
  std::fprintf(stderr, "pointer_bench: %s\n", what.c_str());
  std::exit(1);
}

/// The phone's end of a control connection, as thin as it can be.
class Client {
 public:
  explicit Client(std::uint16_t port) : socket_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (::connect(socket_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0)
      fail("cannot connect");
    const int on = 1;
    ::setsockopt(socket_, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  }
  ~Client() { ::close(socket_); }
  Client(const Client&) = delete;
  Client& operator=(const Client&) = delete;

  void write(std::string_view bytes) const {
    while (!bytes.empty()) {
      const ssize_t count = ::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
      if (count < 0) fail("the connection was lost while writing");
      bytes.remove_prefix(static_cast<std::size_t>(count));
    }
  }
  /// Number of answers (lines) that arrive within `wait`; -1 at the end of the stream.
  long readLines(int waitMilliseconds) const {
    pollfd ready{socket_, POLLIN, 0};
    if (::poll(&ready, 1, waitMilliseconds) <= 0) return 0;
    char block[65536];
    const ssize_t count = ::recv(socket_, block, sizeof block, 0);
    return count <= 0 ? -1 : std::count(block, block + count, '\n');
  }
  void drain() const {
    while (readLines(0) > 0) {
    }
  }
  void finishWriting() const { ::shutdown(socket_, SHUT_WR); }

 private:
  int socket_;
};

/// Another X client, with a window over the whole screen, that sees the pointer move.
class Observer {
 public:
  explicit Observer(const std::string& display) : x_(xcb_connect(display.c_str(), nullptr)) {
    if (xcb_connection_has_error(x_)) fail("cannot open the display " + display);
    const auto* screen = xcb_setup_roots_iterator(xcb_get_setup(x_)).data;
    const auto window = xcb_generate_id(x_);
    const std::uint32_t values[] = {1, XCB_EVENT_MASK_POINTER_MOTION | XCB_EVENT_MASK_EXPOSURE};
    xcb_create_window(x_, XCB_COPY_FROM_PARENT, window, screen->root, 0, 0, screen->width_in_pixels,
                      screen->height_in_pixels, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual,
                      XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values);
    xcb_map_window(x_, window);
    const std::uint32_t above[] = {XCB_STACK_MODE_ABOVE};
    xcb_configure_window(x_, window, XCB_CONFIG_WINDOW_STACK_MODE, above);
    xcb_warp_pointer(x_, XCB_NONE, screen->root, 0, 0, 0, 0,
                     static_cast<std::int16_t>(screen->width_in_pixels / 2),
                     static_cast<std::int16_t>(screen->height_in_pixels / 2));
    xcb_flush(x_);
    waitFor(XCB_EXPOSE);
    drain();
  }
  ~Observer() { xcb_disconnect(x_); }
  Observer(const Observer&) = delete;
  Observer& operator=(const Observer&) = delete;

  void waitForMotion() { waitFor(XCB_MOTION_NOTIFY); }
  void drain() {
    while (auto* event = xcb_poll_for_event(x_)) std::free(event);
  }

 private:
  void waitFor(int type) {
    const auto deadline = Clock::now() + std::chrono::seconds(5);
    while (Clock::now() < deadline) {
      while (auto* event = xcb_poll_for_event(x_)) {
        const bool found = (event->response_type & 0x7f) == type;
        std::free(event);
        if (found) return;
      }
      pollfd ready{xcb_get_file_descriptor(x_), POLLIN, 0};
      ::poll(&ready, 1, 1000);
    }
    fail("no event of type " + std::to_string(type) + " arrived within 5 s");
  }

  xcb_connection_t* x_;
};

std::string moveCommand(const std::string& token, int dx) {
  return "{\"type\":\"command\",\"token\":\"" + token +
         "\",\"command\":{\"type\":\"movePointer\",\"dx\":" + std::to_string(dx) + ",\"dy\":0}}\n";
}

void sample(const Client& client, Observer& observer, const std::string& token, int count,
            std::vector<double>& microseconds) {
  for (int i = 0; i < count; ++i) {
    client.drain();
    observer.drain();
    // A phone sends at the pace of its touch screen; the pause lets every process go back to sleep.
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
    const auto line = moveCommand(token, i % 2 == 0 ? 3 : -3);
    const auto sent = Clock::now();
    client.write(line);
    observer.waitForMotion();
    microseconds.push_back(Microseconds(Clock::now() - sent).count());
  }
}

double percentile(std::vector<double> values, double fraction) {
  std::sort(values.begin(), values.end());
  return values[static_cast<std::size_t>(fraction * static_cast<double>(values.size() - 1))];
}

/// Commands a second, from the first write until the last answer (or, without answers, until the stream's
/// end).
double throughput(std::uint16_t port, const std::string& token, int commands, bool answered) {
  const Client client(port);
  while (client.readLines(100) > 0) {
  }
  std::string lines;
  for (int i = 0; i < commands; ++i) lines += moveCommand(token, i % 2 == 0 ? 1 : -1);
  const auto started = Clock::now();
  std::thread writer([&] {
    client.write(lines);
    if (!answered) client.finishWriting();
  });
  long answers = 0;
  while (answered ? answers < commands : answers >= 0) {
    const long more = client.readLines(5000);
    if (answered && more <= 0) fail("answers are missing: " + std::to_string(answers));
    answers = more < 0 ? -1 : answers + more;
  }
  const auto seconds = std::chrono::duration<double>(Clock::now() - started).count();
  writer.join();
  return commands / seconds;
}

struct Options {
  std::string display;
  std::uint16_t companionPort = 0;
  std::string token;
  int samples = 3000;
  int commands = 100000;
};

void run(const Options& options) {
  constexpr int kBlock = 100;  // the two take turns, so that a noisy moment hits both
  const auto bare = BareLoop::start(options.display, BareLoop::Answers::none);
  const auto answering = BareLoop::start(options.display, BareLoop::Answers::fixedLine);
  Observer observer(options.display);
  std::vector<double> ours, theirs;
  {
    const Client companion(options.companionPort);
    const Client bareClient(bare.port());
    std::vector<double> warmUp;
    sample(companion, observer, options.token, kBlock, warmUp);
    sample(bareClient, observer, options.token, kBlock, warmUp);
    while (static_cast<int>(ours.size()) < options.samples) {
      sample(bareClient, observer, options.token, kBlock, theirs);
      sample(companion, observer, options.token, kBlock, ours);
    }
  }
  const double companionRate = throughput(options.companionPort, options.token, options.commands, true);
  const double bareRate = throughput(bare.port(), options.token, options.commands, false);
  const double answeringRate = throughput(answering.port(), options.token, options.commands, true);
  std::printf(
      "{\"samples\":%zu,\"companionP50us\":%.1f,\"companionP99us\":%.1f,\"bareP50us\":%.1f,\"bareP99us\":%."
      "1f,"
      "\"companionPerSecond\":%.0f,\"barePerSecond\":%.0f,\"answeringBarePerSecond\":%.0f}\n",
      ours.size(), percentile(ours, 0.5), percentile(ours, 0.99), percentile(theirs, 0.5),
      percentile(theirs, 0.99), companionRate, bareRate, answeringRate);
}

}  // namespace
}  // namespace tevanto::bench

int main(int argc, char** argv) {
  CLI::App app("Measures the path of a pointer event beside a bare loop");
  tevanto::bench::Options options;
  app.add_option("--display", options.display, "X display that both inject into")->required();
  app.add_option("--companion-port", options.companionPort, "Port of a running companion")->required();
  app.add_option("--token", options.token, "Its pairing token")->required();
  app.add_option("--samples", options.samples, "Latency samples for each");
  app.add_option("--commands", options.commands, "Commands for the throughput");
  CLI11_PARSE(app, argc, argv);
  tevanto::bench::run(options);
  return 0;
}
