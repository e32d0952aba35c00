#include "tests/support/desktop/TextXClient.h"

#include <X11/XKBlib.h>
#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>

#include <algorithm>
#include <chrono>
#include <clocale>
#include <cstdint>
#include <stdexcept>
#include <thread>

namespace tevanto::test {

namespace {
constexpr KeyCode kAnyKeycode = 38;
}

struct TextXClient::Window {
  Display* display = nullptr;
  ::Window window = 0;
  XIM method = nullptr;
  XIC context = nullptr;
  std::string text;
  bool shown = false;
  std::chrono::milliseconds longestDelay{};

  ~Window() {
    if (context) XDestroyIC(context);
    if (method) XCloseIM(method);
    if (display) XCloseDisplay(display);
  }

  void open(const std::string& name) {
    std::setlocale(LC_CTYPE, "C.UTF-8");
    XSetLocaleModifiers("@im=none");
    display = XOpenDisplay(name.c_str());
    if (!display) throw std::runtime_error("no X server on " + name);
    XSetWindowAttributes attributes{};
    attributes.override_redirect = True;
    attributes.event_mask = KeyPressMask | ButtonPressMask | ExposureMask;
    window = XCreateWindow(display, DefaultRootWindow(display), 0, 0, 640, 480, 0, CopyFromParent,
                           InputOutput, CopyFromParent, CWOverrideRedirect | CWEventMask, &attributes);
    XMapRaised(display, window);
    method = XOpenIM(display, nullptr, nullptr, nullptr);
    if (!method) throw std::runtime_error("Xlib has no input method for this locale");
    context = XCreateIC(method, XNInputStyle, XIMPreeditNothing | XIMStatusNothing, XNClientWindow, window,
                        nullptr);
    if (!context) throw std::runtime_error("Xlib has no input context");
    while (!shown) take();
    // At its first key, Xlib asks for the keymap and then for news of it, and misses a change in between.
    XkbKeycodeToKeysym(display, kAnyKeycode, 0, 0);
    XSetInputFocus(display, window, RevertToParent, CurrentTime);
    XSync(display, False);
  }

  void take() {
    while (XPending(display)) {
      XEvent event;
      XNextEvent(display, &event);
      note(event);
    }
  }

  /// The server's time is the machine's uptime in milliseconds, as far as it goes into 32 bits.
  void noteDelay(Time sent) {
    const auto now =
        std::chrono::floor<std::chrono::milliseconds>(std::chrono::steady_clock::now().time_since_epoch());
    const auto delay =
        static_cast<std::int32_t>(static_cast<std::uint32_t>(now.count()) - static_cast<std::uint32_t>(sent));
    longestDelay = std::max(longestDelay, std::chrono::milliseconds(delay));
  }

  void clear() {
    text.clear();
    longestDelay = {};
  }

  void note(XEvent& event) {
    if (event.type == Expose) shown = true;
    if (event.type == MappingNotify) XRefreshKeyboardMapping(&event.xmapping);
    if (XFilterEvent(&event, 0)) return;
    if (event.type == KeyPress) append(event.xkey);
    if (event.type == ButtonPress) text += "<" + std::to_string(event.xbutton.button) + ">";
  }

  void append(XKeyEvent& event) {
    noteDelay(event.time);
    char buffer[64];
    KeySym keysym = 0;
    Status status = 0;
    const int count = Xutf8LookupString(context, &event, buffer, sizeof buffer, &keysym, &status);
    if (status == XLookupChars || status == XLookupBoth) text.append(buffer, static_cast<std::size_t>(count));
  }
};

TextXClient::TextXClient(const std::string& display) : window_(std::make_unique<Window>()) {
  window_->open(display);
}

TextXClient::~TextXClient() = default;

const std::string& TextXClient::text() {
  window_->take();
  return window_->text;
}

const std::string& TextXClient::textOf(std::size_t bytes) {
  constexpr auto kQuiet = std::chrono::seconds(5);
  auto end = std::chrono::steady_clock::now() + kQuiet;
  for (std::size_t before = text().size(); window_->text.size() < bytes;) {
    if (window_->text.size() != before) end = std::chrono::steady_clock::now() + kQuiet;
    before = window_->text.size();
    if (std::chrono::steady_clock::now() > end) break;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
    window_->take();
  }
  return window_->text;
}

void TextXClient::clear() { window_->clear(); }

std::chrono::milliseconds TextXClient::longestDelay() const { return window_->longestDelay; }

void TextXClient::takeClipboard() {
  XSetSelectionOwner(window_->display, XInternAtom(window_->display, "CLIPBOARD", False), window_->window,
                     CurrentTime);
  XSetSelectionOwner(window_->display, XA_PRIMARY, window_->window, CurrentTime);
  XSync(window_->display, False);
}

bool TextXClient::ownsClipboard() {
  return XGetSelectionOwner(window_->display, XInternAtom(window_->display, "CLIPBOARD", False)) ==
             window_->window &&
         XGetSelectionOwner(window_->display, XA_PRIMARY) == window_->window;
}

}  // namespace tevanto::test
