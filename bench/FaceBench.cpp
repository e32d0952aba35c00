// How long the companion takes from exec to the first frame of its window, beside an empty Qt Quick window
// that is drawn the same way; what it costs while it idles in the tray's place with its window closed. One
// JSON object.
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>
#include <xcb/xcb.h>

#include <CLI/CLI.hpp>
#include <QGuiApplication>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickView>
#include <QSGRendererInterface>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

struct Free {
  void operator()(void* memory) const { std::free(memory); }
};
template <class T>
using Owned = std::unique_ptr<T, Free>;

[[noreturn]] void fail(const char* what) {
  std::fprintf(stderr, "face_bench: %s\n", what);
  std::exit(1);
}

int showEmptyWindow(int argc, char** argv) {
  QGuiApplication application(argc, argv);
  QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
  QQuickView view;
  QQmlComponent component(view.engine());
  component.setData("import QtQuick\nRectangle { width: 360; height: 520 }", QUrl());
  view.setContent(QUrl(), &component, component.create());
  view.show();
  return QGuiApplication::exec();
}

/// A program that was started, and the X server that it shows itself on.
class Shown {
 public:
  explicit Shown(const std::vector<std::string>& command) : connection_(xcb_connect(nullptr, nullptr)) {
    if (xcb_connection_has_error(connection_)) fail("no X server");
    root_ = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data->root;
    const std::uint32_t events = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
    xcb_change_window_attributes(connection_, root_, XCB_CW_EVENT_MASK, &events);
    xcb_flush(connection_);
    Owned<xcb_get_input_focus_reply_t>(
        xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr));
    started_ = Clock::now();
    process_ = ::fork();
    if (process_ == 0) {
      std::vector<char*> arguments;
      for (const auto& each : command) arguments.push_back(const_cast<char*>(each.c_str()));
      arguments.push_back(nullptr);
      if (!std::freopen("/dev/null", "w", stdout)) ::_exit(127);
      if (!std::freopen("/dev/null", "w", stderr)) ::_exit(127);
      ::execv(arguments[0], arguments.data());
      ::_exit(127);
    }
  }
  ~Shown() {
    ::kill(process_, SIGTERM);
    ::waitpid(process_, nullptr, 0);
    xcb_disconnect(connection_);
  }
  Shown(const Shown&) = delete;
  Shown& operator=(const Shown&) = delete;

  /// Until the window's ground, black so far, has got its colour.
  double millisecondsToFirstFrame() {
    const auto deadline = started_ + std::chrono::seconds(30);
    while (Clock::now() < deadline) {
      takeEvents();
      if (window_ != 0 && isPainted()) {
        return std::chrono::duration<double, std::milli>(Clock::now() - started_).count();
      }
      std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
    fail("the window does not appear");
  }

  /// As a window manager does it.
  void closeWindow() {
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window_;
    message.type = atom("WM_PROTOCOLS");
    message.data.data32[0] = atom("WM_DELETE_WINDOW");
    xcb_send_event(connection_, 0, window_, 0, reinterpret_cast<const char*>(&message));
    xcb_flush(connection_);
  }

  double residentMegabytes() const {
    std::ifstream file("/proc/" + std::to_string(process_) + "/smaps_rollup");
    for (std::string line; std::getline(file, line);) {
      long kilobytes = 0;
      if (std::sscanf(line.c_str(), "Rss: %ld kB", &kilobytes) == 1)
        return static_cast<double>(kilobytes) / 1024;
    }
    return 0;
  }

  /// Of all its threads.
  long wakeUps() const {
    long sum = 0;
    std::error_code error;
    for (const auto& task :
         std::filesystem::directory_iterator("/proc/" + std::to_string(process_) + "/task", error)) {
      std::ifstream file(task.path() / "status");
      for (std::string line; std::getline(file, line);) {
        long count = 0;
        if (std::sscanf(line.c_str(), "voluntary_ctxt_switches: %ld", &count) == 1) sum += count;
      }
    }
    return sum;
  }

 private:
  void takeEvents() {
    while (const Owned<xcb_generic_event_t> event{xcb_poll_for_event(connection_)}) {
      if ((event->response_type & 0x7f) != XCB_MAP_NOTIFY) continue;
      window_ = reinterpret_cast<const xcb_map_notify_event_t*>(event.get())->window;
    }
  }
  bool isPainted() {
    const Owned<xcb_get_image_reply_t> image(xcb_get_image_reply(
        connection_, xcb_get_image(connection_, XCB_IMAGE_FORMAT_Z_PIXMAP, window_, 4, 4, 1, 1, ~0U),
        nullptr));
    if (!image || xcb_get_image_data_length(image.get()) < 4) return false;
    const auto* pixel = xcb_get_image_data(image.get());
    return pixel[0] != 0 || pixel[1] != 0 || pixel[2] != 0;
  }
  xcb_atom_t atom(const std::string& name) {
    const Owned<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(
        connection_, xcb_intern_atom(connection_, 0, static_cast<std::uint16_t>(name.size()), name.c_str()),
        nullptr));
    return reply ? reply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
  }

  xcb_connection_t* const connection_;
  xcb_window_t root_ = 0;
  xcb_window_t window_ = 0;
  pid_t process_ = -1;
  Clock::time_point started_;
};

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

double firstFrame(const std::vector<std::string>& command) {
  return Shown(command).millisecondsToFirstFrame();
}

}  // namespace

int main(int argc, char** argv) {
  bool empty = false;
  std::string companion;
  int rounds = 9;
  int idleSeconds = 20;
  CLI::App app("Measures the companion's window");
  app.add_flag("--empty", empty, "Be the empty window");
  app.add_option("--companion", companion, "The program");
  app.add_option("--rounds", rounds, "Starts of each");
  app.add_option("--idle", idleSeconds, "Seconds of idling");
  CLI11_PARSE(app, argc, argv);
  if (empty) return showEmptyWindow(argc, argv);

  const std::vector<std::string> window{std::filesystem::read_symlink("/proc/self/exe").string(), "--empty"};
  const std::vector<std::string> tevanto{companion,         "--remote-port", "0", "--screen-port", "0",
                                         "--loopback-only", "--no-discovery"};
  std::vector<double> ours;
  std::vector<double> bare;
  for (int round = 0; round < rounds; ++round) {
    bare.push_back(firstFrame(window));
    ours.push_back(firstFrame(tevanto));
  }
  Shown shown(tevanto);
  shown.millisecondsToFirstFrame();
  shown.closeWindow();
  std::this_thread::sleep_for(std::chrono::seconds(5));
  const auto before = shown.wakeUps();
  std::this_thread::sleep_for(std::chrono::seconds(idleSeconds));
  const auto wakeUps = static_cast<double>(shown.wakeUps() - before) / idleSeconds;
  std::printf(
      "{\"first_frame_ms\": %.1f, \"empty_window_ms\": %.1f, \"ratio\": %.2f, \"idle_wake_ups\": %.2f, "
      "\"idle_resident_mib\": %.1f}\n",
      median(ours), median(bare), median(ours) / median(bare), wakeUps, shown.residentMegabytes());
}
