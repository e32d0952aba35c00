#include "tests/support/desktop/RecordingXClient.h"

#include <xcb/xcb.h>
#include <xcb/xtest.h>

#include <algorithm>
#include <cstdlib>
#include <stdexcept>

#include "tests/support/programs/Eventually.h"

namespace tevanto::test {
namespace {

struct Free {
  void operator()(void* memory) const { std::free(memory); }
};
template <class T>
using Owned = std::unique_ptr<T, Free>;

constexpr std::uint32_t kEvents = XCB_EVENT_MASK_POINTER_MOTION | XCB_EVENT_MASK_BUTTON_PRESS |
                                  XCB_EVENT_MASK_BUTTON_RELEASE | XCB_EVENT_MASK_KEY_PRESS |
                                  XCB_EVENT_MASK_KEY_RELEASE | XCB_EVENT_MASK_EXPOSURE;

}  // namespace

struct RecordingXClient::Connection {
  xcb_connection_t* xcb = nullptr;
  xcb_window_t root = 0;
  xcb_window_t window = 0;
  bool exposed = false;

  ~Connection() { xcb_disconnect(xcb); }

  template <class Event>
  static XEvent describe(XEvent::Kind kind, const xcb_generic_event_t& event) {
    const auto& input = reinterpret_cast<const Event&>(event);
    return {kind, input.detail, input.state, input.root_x, input.root_y};
  }

  void read(std::vector<XEvent>& into) {
    while (const Owned<xcb_generic_event_t> event{xcb_poll_for_event(xcb)}) note(*event, into);
  }

  void note(const xcb_generic_event_t& event, std::vector<XEvent>& into) {
    using Kind = XEvent::Kind;
    switch (event.response_type & 0x7f) {
      case XCB_MOTION_NOTIFY:
        into.push_back(describe<xcb_motion_notify_event_t>(Kind::motion, event));
        into.back().detail = 0;
        break;
      case XCB_BUTTON_PRESS:
        into.push_back(describe<xcb_button_press_event_t>(Kind::buttonPress, event));
        break;
      case XCB_BUTTON_RELEASE:
        into.push_back(describe<xcb_button_press_event_t>(Kind::buttonRelease, event));
        break;
      case XCB_KEY_PRESS:
        into.push_back(describe<xcb_key_press_event_t>(Kind::keyPress, event));
        break;
      case XCB_KEY_RELEASE:
        into.push_back(describe<xcb_key_press_event_t>(Kind::keyRelease, event));
        break;
      case XCB_EXPOSE:
        exposed = true;
        break;
      default:
        break;
    }
  }
};

RecordingXClient::RecordingXClient(const std::string& display) : connection_(std::make_unique<Connection>()) {
  auto& c = *connection_;
  c.xcb = xcb_connect(display.c_str(), nullptr);
  if (xcb_connection_has_error(c.xcb)) throw std::runtime_error("no X server on " + display);
  const auto* screen = xcb_setup_roots_iterator(xcb_get_setup(c.xcb)).data;
  c.root = screen->root;
  c.window = xcb_generate_id(c.xcb);
  const std::uint32_t values[]{1, kEvents};  // without a window manager's frame
  xcb_create_window(c.xcb, XCB_COPY_FROM_PARENT, c.window, c.root, 0, 0, screen->width_in_pixels,
                    screen->height_in_pixels, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                    XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values);
  xcb_map_window(c.xcb, c.window);
  xcb_set_input_focus(c.xcb, XCB_INPUT_FOCUS_PARENT, c.window, XCB_CURRENT_TIME);
  xcb_flush(c.xcb);
  const bool shown = eventually([&] {
    c.read(events_);
    return c.exposed;
  });
  if (!shown) throw std::runtime_error("the recording window is not shown");
  xcb_set_input_focus(c.xcb, XCB_INPUT_FOCUS_PARENT, c.window, XCB_CURRENT_TIME);
  all();
  clear();
}

RecordingXClient::~RecordingXClient() = default;

const std::vector<XEvent>& RecordingXClient::events() {
  connection_->read(events_);
  return events_;
}

void RecordingXClient::clear() { events_.clear(); }

bool RecordingXClient::waitUntil(const std::function<bool(const std::vector<XEvent>&)>& enough) {
  return eventually([&] { return enough(events()); });
}

std::vector<XEvent> RecordingXClient::all() {
  state();  // its answer comes after the events that were sent before it
  return events();
}

std::pair<int, int> RecordingXClient::pointer() const {
  auto* xcb = connection_->xcb;
  const Owned<xcb_query_pointer_reply_t> reply(
      xcb_query_pointer_reply(xcb, xcb_query_pointer(xcb, connection_->root), nullptr));
  return {reply->root_x, reply->root_y};
}

unsigned RecordingXClient::state() const {
  auto* xcb = connection_->xcb;
  const Owned<xcb_query_pointer_reply_t> reply(
      xcb_query_pointer_reply(xcb, xcb_query_pointer(xcb, connection_->root), nullptr));
  return reply->mask;
}

std::vector<int> RecordingXClient::keysDown() const {
  auto* xcb = connection_->xcb;
  const Owned<xcb_query_keymap_reply_t> reply(xcb_query_keymap_reply(xcb, xcb_query_keymap(xcb), nullptr));
  std::vector<int> result;
  for (int key = 0; key < 256; ++key)
    if (reply->keys[key / 8] >> (key % 8) & 1) result.push_back(key);
  return result;
}

void RecordingXClient::placePointer(int x, int y) {
  xcb_warp_pointer(connection_->xcb, XCB_NONE, connection_->root, 0, 0, 0, 0, static_cast<std::int16_t>(x),
                   static_cast<std::int16_t>(y));
  all();
  clear();
}

void RecordingXClient::assignButtons(const std::vector<std::uint8_t>& logical) {
  auto* xcb = connection_->xcb;
  const Owned<xcb_get_pointer_mapping_reply_t> before(
      xcb_get_pointer_mapping_reply(xcb, xcb_get_pointer_mapping(xcb), nullptr));
  std::vector<std::uint8_t> map;
  for (int i = 1; i <= xcb_get_pointer_mapping_map_length(before.get()); ++i)
    map.push_back(static_cast<std::uint8_t>(i));
  std::copy(logical.begin(), logical.end(), map.begin());
  const auto cookie = xcb_set_pointer_mapping(xcb, static_cast<std::uint8_t>(map.size()), map.data());
  const Owned<xcb_set_pointer_mapping_reply_t> reply(xcb_set_pointer_mapping_reply(xcb, cookie, nullptr));
  if (!reply || reply->status != XCB_MAPPING_STATUS_SUCCESS)
    throw std::runtime_error("the buttons cannot be assigned");
}

std::uint32_t RecordingXClient::keysym(int keycode) const {
  auto* xcb = connection_->xcb;
  const auto cookie = xcb_get_keyboard_mapping(xcb, static_cast<std::uint8_t>(keycode), 1);
  const Owned<xcb_get_keyboard_mapping_reply_t> reply(xcb_get_keyboard_mapping_reply(xcb, cookie, nullptr));
  return reply->keysyms_per_keycode > 0 ? xcb_get_keyboard_mapping_keysyms(reply.get())[0] : 0;
}

std::vector<int> RecordingXClient::unusedKeycodes() const {
  constexpr int kFirst = 8;
  constexpr int kCount = 248;
  auto* xcb = connection_->xcb;
  const auto cookie = xcb_get_keyboard_mapping(xcb, kFirst, kCount);
  const Owned<xcb_get_keyboard_mapping_reply_t> reply(xcb_get_keyboard_mapping_reply(xcb, cookie, nullptr));
  const auto* keysyms = xcb_get_keyboard_mapping_keysyms(reply.get());
  const int width = reply->keysyms_per_keycode;
  std::vector<int> result;
  for (int key = 0; key < kCount; ++key)
    if (std::all_of(keysyms + key * width, keysyms + (key + 1) * width, [](auto k) { return k == 0; }))
      result.push_back(kFirst + key);
  return result;
}

}  // namespace tevanto::test
